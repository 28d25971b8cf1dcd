# Every module is one static library that names what it may depend on. A header is included as "module/Header.h", and
# that path exists only for targets that link the module: a wrong include does not compile.

add_library(kel_options INTERFACE)
target_compile_definitions(kel_options INTERFACE KEL_VERSION="${PROJECT_VERSION}")
target_compile_options(kel_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # GCC 12 takes inlined std::string code for overlapping or out-of-bounds accesses (GCC bugs 105329, 105651).
  target_compile_options(kel_options INTERFACE -Wno-restrict)
endif()
if(KEL_SANITIZE)
  add_compile_options(-fsanitize=${KEL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${KEL_SANITIZE})
endif()
if(MINGW)
  # Programs must run on a bare machine: no run-time DLLs beside them.
  add_link_options(-static)
endif()

# Whether programs of this build run here, if need be under the emulator. The answer is kept in the cache; it is asked
# for again with -U KEL_PROGRAMS_RUN.
if(CMAKE_CROSSCOMPILING AND KEL_TESTS AND NOT DEFINED KEL_PROGRAMS_RUN)
  set(probe ${CMAKE_BINARY_DIR}/CMakeFiles/probe.cpp)
  file(WRITE ${probe} "#include <cstdio>\nint main() { std::puts(\"runs\"); }\n")
  unset(exit CACHE)
  unset(compiled CACHE)
  try_run(exit compiled ${CMAKE_BINARY_DIR}/CMakeFiles/probe ${probe} LINK_OPTIONS -static RUN_OUTPUT_VARIABLE output)
  if(compiled AND exit EQUAL 0 AND output MATCHES "runs")
    set(runs ON)
  else()
    set(runs OFF)
    string(STRIP "${output}" output)
    message(STATUS "Programs of this build don't run here (${output}): its tests are built and not registered")
  endif()
  set(KEL_PROGRAMS_RUN ${runs} CACHE BOOL "Programs of this build run here, if need be under the emulator")
elseif(NOT CMAKE_CROSSCOMPILING)
  set(KEL_PROGRAMS_RUN ON)
endif()

# kel_module(NAME DIR DEPENDS...): all .cpp files of DIR (not of its subfolders) as library kel_NAME.
function(kel_module name dir)
  file(GLOB sources CONFIGURE_DEPENDS ${dir}/*.cpp)
  set(link_root ${CMAKE_BINARY_DIR}/include/${name})
  file(MAKE_DIRECTORY ${link_root})
  file(CREATE_LINK ${dir} ${link_root}/${name} SYMBOLIC)
  if(sources)
    add_library(kel_${name} STATIC ${sources})
    target_include_directories(kel_${name} PUBLIC ${link_root})
    target_link_libraries(kel_${name} PUBLIC ${ARGN} PRIVATE kel_options)
  else()
    add_library(kel_${name} INTERFACE)
    target_include_directories(kel_${name} INTERFACE ${link_root})
    target_link_libraries(kel_${name} INTERFACE ${ARGN})
  endif()
endfunction()

# kel_program(NAME DIR DEPENDS...): all .cpp files of DIR as program NAME.
function(kel_program name dir)
  file(GLOB sources CONFIGURE_DEPENDS ${dir}/*.cpp)
  add_executable(${name} ${sources})
  target_link_libraries(${name} PRIVATE ${ARGN} kel_options)
endfunction()

# kel_test_on_versions(NAME LABEL FILTER VERSION...): the tests of a program that match FILTER ("": all), again under other
# versions of Windows, each version as one test NAME.LABEL-VERSION.
function(kel_test_on_versions name label filter)
  if(NOT WIN32 OR NOT KEL_PROGRAMS_RUN)
    return()
  endif()
  foreach(version ${ARGN})
    set(test ${name}.${label}-${version})
    if(filter STREQUAL "")
      add_test(NAME ${test} COMMAND ${name})
    else()
      add_test(NAME ${test} COMMAND ${name} --gtest_filter=${filter})
    endif()
    set_tests_properties(${test} PROPERTIES RESOURCE_LOCK wine-${version} ENVIRONMENT KEL_WINE_VERSION=${version} TIMEOUT 300)
  endforeach()
endfunction()

# kel_golden(NAME TEMPLATE PATTERN): the files of golden/ that match PATTERN, as arrays of bytes in the test program NAME.
# TEMPLATE.cpp.in holds @arrays@ and @entries@, rows of {"name", {array, size}}.
function(kel_golden name template pattern)
  file(GLOB files CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/golden/${pattern})
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${files})
  foreach(golden ${files})
    get_filename_component(array ${golden} NAME_WE)
    file(READ ${golden} bytes HEX)
    string(REGEX REPLACE "(..)" "'\\\\x\\1'," bytes "${bytes}")
    string(APPEND arrays "constexpr char ${array}[] = {${bytes}};\n")
    string(APPEND entries "    {\"${array}\", {${array}, sizeof ${array}}},\n")
  endforeach()
  configure_file(${template}.cpp.in ${CMAKE_CURRENT_BINARY_DIR}/${template}.cpp @ONLY)
  target_sources(${name} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${template}.cpp)
  target_include_directories(${name} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
endfunction()

# kel_test(NAME DIR DEPENDS...): all .cpp files of DIR as one test program; each of its tests is a ctest test. Tests that
# match KEL_LONE_TESTS, a gtest filter, are never run beside each other: they act on what runs on the whole machine.
function(kel_test name dir)
  file(GLOB sources CONFIGURE_DEPENDS ${dir}/*.cpp)
  if(NOT sources)
    return()
  endif()
  add_executable(${name} ${sources})
  target_link_libraries(${name} PRIVATE ${ARGN} kel_options GTest::gtest GTest::gmock GTest::gtest_main)
  if(NOT KEL_PROGRAMS_RUN)
    return()
  endif()
  # Parameterized tests are named by index: some printed values hold addresses, which change with every run.
  set(discovery NO_PRETTY_VALUES DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120 TEST_PREFIX "${name}.")
  if(NOT KEL_LONE_TESTS)
    gtest_discover_tests(${name} ${discovery} PROPERTIES TIMEOUT 300)
    return()
  endif()
  gtest_discover_tests(${name} ${discovery} TEST_FILTER "-${KEL_LONE_TESTS}" PROPERTIES TIMEOUT 300)
  gtest_discover_tests(${name} ${discovery} TEST_FILTER "${KEL_LONE_TESTS}" TEST_LIST ${name}_lone
                       PROPERTIES TIMEOUT 300 RESOURCE_LOCK running_programs)
endfunction()
