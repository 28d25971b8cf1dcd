# What is installed where, and the two packages made of it: a .deb for Linux, a zip for Windows. scripts/packages makes
# and tries both.
set(KEL_SAMPLE_TABLES ${CMAKE_SOURCE_DIR}/build/sample-tables CACHE PATH "Tables made of samples/, for the packages")

set(CPACK_PACKAGE_NAME ombrelane)
set(CPACK_PACKAGE_VENDOR "Kelvane Software")
set(CPACK_PACKAGE_CONTACT "Kelvane Software <engine@kelvane.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Anti-spyware engine for Windows machines, running or not")
set(CPACK_PACKAGE_DESCRIPTION
    "Scans a Windows machine for spyware by signature tables, cleans it into a quarantine that can be undone, and puts\n\
it right again: live on Windows, and offline on Linux over a mounted disk or a Wine prefix.")
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

# What the packages hold is built by the target kel_packaged; cpack does not build the tests.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)
add_custom_target(kel_packaged)

# kel_install_programs(DESTINATION TARGET...): those of the targets that this build has.
function(kel_install_programs destination)
  foreach(program ${ARGN})
    if(TARGET ${program})
      install(TARGETS ${program} RUNTIME DESTINATION ${destination})
      add_dependencies(kel_packaged ${program})
    endif()
  endforeach()
endfunction()

set(documents automation.md companions.md durability.md hives.md kelsdb.md offline.md ombrelane.md packages.md reports.md windows.md)
list(TRANSFORM documents PREPEND ${CMAKE_SOURCE_DIR}/docs/)

if(WIN32)
  kel_install_programs(. kelThreatEngine kelASCleaner kvASThreatAuditpk ombrelane kelsdb)
  install(FILES ${CMAKE_SOURCE_DIR}/packaging/windows/register.cmd ${CMAKE_SOURCE_DIR}/packaging/windows/unregister.cmd
                ${CMAKE_SOURCE_DIR}/packaging/windows/README.txt DESTINATION .)
  # The engine looks for its tables beside its program.
  install(DIRECTORY ${KEL_SAMPLE_TABLES}/ DESTINATION . OPTIONAL)
  install(DIRECTORY ${CMAKE_SOURCE_DIR}/examples DESTINATION . OPTIONAL)
  install(FILES ${documents} DESTINATION docs OPTIONAL)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME ombrelane-${PROJECT_VERSION}-windows-${CMAKE_SYSTEM_PROCESSOR})
else()
  set(programs ombrelane kelsdb hivedump hivemake)
  kel_install_programs(bin ${programs})
  # Each program writes its own page and completions; the names are those under which the shells look for them.
  set(generated ${CMAKE_BINARY_DIR}/generated)
  set(man ${generated}/man)
  set(bash ${generated}/bash)
  set(zsh ${generated}/zsh)
  set(fish ${generated}/fish)
  file(MAKE_DIRECTORY ${man} ${bash} ${zsh} ${fish})
  set(pages "")
  foreach(program ${programs})
    set(outputs ${man}/${program}.1.gz ${bash}/${program} ${zsh}/_${program} ${fish}/${program}.fish)
    add_custom_command(
      OUTPUT ${outputs}
      COMMAND ${program} --generate man > ${man}/${program}.1
      COMMAND gzip -9nf ${man}/${program}.1
      COMMAND ${program} --generate bash > ${bash}/${program}
      COMMAND ${program} --generate zsh > ${zsh}/_${program}
      COMMAND ${program} --generate fish > ${fish}/${program}.fish
      COMMENT "Manual page and completions of ${program}" VERBATIM)
    list(APPEND pages ${outputs})
  endforeach()
  add_custom_target(kel_manuals ALL DEPENDS ${pages})
  add_dependencies(kel_packaged kel_manuals)
  install(DIRECTORY ${man}/ DESTINATION share/man/man1)
  install(DIRECTORY ${bash}/ DESTINATION share/bash-completion/completions)
  install(DIRECTORY ${zsh}/ DESTINATION share/zsh/vendor-completions)
  install(DIRECTORY ${fish}/ DESTINATION share/fish/vendor_completions.d)
  install(FILES ${documents} DESTINATION share/doc/ombrelane OPTIONAL)
  install(DIRECTORY ${KEL_SAMPLE_TABLES}/ DESTINATION share/ombrelane/sample-tables OPTIONAL)
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION admin)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
endif()
include(CPack)
