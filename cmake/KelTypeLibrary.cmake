# kel_type_library(TARGET IDL): the C++ header and the type library of an interface definition, made by widl. TARGET
# is an interface library for those who include "NAME.h"; its property KEL_TYPE_LIBRARY is the path of NAME.tlb.
function(kel_type_library target idl)
  find_program(KEL_WIDL ${KEL_TRIPLE}-widl REQUIRED)
  # Wine's import of the platform's own types; it is the same for every processor.
  find_path(KEL_STDOLE stdole2.tlb
    PATHS /usr/lib/x86_64-linux-gnu/wine/x86_64-windows /usr/lib/i386-linux-gnu/wine/i386-windows
    REQUIRED NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
  cmake_path(GET idl STEM name)
  cmake_path(GET idl PARENT_PATH folder)
  file(GLOB parts CONFIGURE_DEPENDS ${folder}/idl/*.idl)
  set(made ${CMAKE_BINARY_DIR}/idl)
  file(MAKE_DIRECTORY ${made})
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(bits -m32)
  else()
    set(bits -m64)
  endif()
  foreach(kind h t)
    if(kind STREQUAL h)
      set(output ${made}/${name}.h)
    else()
      set(output ${made}/${name}.tlb)
    endif()
    add_custom_command(OUTPUT ${output}
      COMMAND ${KEL_WIDL} -${kind} ${bits} -I ${folder}/idl -L ${KEL_STDOLE} -o ${output} ${name}.idl
      DEPENDS ${idl} ${parts}
      WORKING_DIRECTORY ${folder}
      COMMENT "widl: ${output}"
      VERBATIM)
    list(APPEND outputs ${output})
  endforeach()
  add_custom_target(${target}_files DEPENDS ${outputs})
  add_library(${target} INTERFACE)
  add_dependencies(${target} ${target}_files)
  # As system headers: what widl writes has warnings of its own.
  target_include_directories(${target} SYSTEM INTERFACE ${made})
  set_target_properties(${target} PROPERTIES KEL_TYPE_LIBRARY ${made}/${name}.tlb)
endfunction()

# kel_embed_type_library(TARGET LIBRARY): puts the type library of LIBRARY, of kel_type_library, into the program TARGET.
function(kel_embed_type_library target library)
  get_target_property(tlb ${library} KEL_TYPE_LIBRARY)
  cmake_path(REPLACE_EXTENSION tlb LAST_ONLY rc OUTPUT_VARIABLE resource)
  # Written once: a newer one would be compiled again.
  if(NOT EXISTS ${resource})
    file(WRITE ${resource} "1 TYPELIB \"${tlb}\"\n")
  endif()
  set_source_files_properties(${resource} TARGET_DIRECTORY ${target} PROPERTIES OBJECT_DEPENDS ${tlb})
  target_sources(${target} PRIVATE ${resource})
  add_dependencies(${target} ${library}_files)
endfunction()
