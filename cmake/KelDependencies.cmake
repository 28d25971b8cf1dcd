# What comes from outside, each with its reason in docs/dependencies.md.

# Header-only libraries from Debian's packages. A MinGW build must not see /usr/include itself, so they are linked into
# a folder of their own.
set(KEL_HEADER_ONLY ${CMAKE_BINARY_DIR}/header-only)
file(MAKE_DIRECTORY ${KEL_HEADER_ONLY})
foreach(header CLI nlohmann xxhash.h)
  if(NOT EXISTS /usr/include/${header})
    message(FATAL_ERROR "/usr/include/${header} is missing: run scripts/install-packages")
  endif()
  file(CREATE_LINK /usr/include/${header} ${KEL_HEADER_ONLY}/${header} SYMBOLIC)
endforeach()
add_library(kel_header_only INTERFACE)
target_include_directories(kel_header_only SYSTEM INTERFACE ${KEL_HEADER_ONLY})
target_compile_definitions(kel_header_only INTERFACE XXH_INLINE_ALL)

find_package(ZLIB REQUIRED)

if(KEL_TESTS)
  # Built here rather than taken from libgtest-dev, so that it is cross-compiled and sanitized like everything else.
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  set(gtest_force_shared_crt ON CACHE BOOL "" FORCE)
  add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
  if(NOT TARGET GTest::gmock)
    add_library(GTest::gmock ALIAS gmock)
  endif()
  if(NOT TARGET GTest::gtest)
    add_library(GTest::gtest ALIAS gtest)
    add_library(GTest::gtest_main ALIAS gtest_main)
  endif()
  include(GoogleTest)
endif()
