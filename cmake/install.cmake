# Installation and the Debian package: the tool in bin/, the extension and the library layer in
# lib/ (the extension finds the layer beside itself through its run path), the sample service in
# libexec/tssoap/, the man page, bash completion, and the example proxy files.
install(TARGETS tssoap RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS easysoap tssoapclient90 LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
# Run paths relative to the binary, so that the installed tree can be moved as a whole.
tssoap_path_from_bindir(lib_from_bin ${CMAKE_INSTALL_LIBDIR})
set_target_properties(tssoap PROPERTIES INSTALL_RPATH "$ORIGIN/${lib_from_bin}")
set_target_properties(tssoapclient90 PROPERTIES INSTALL_RPATH "$ORIGIN")
if(TARGET sample_service)
  install(TARGETS sample_service RUNTIME DESTINATION ${TSSOAP_INSTALL_LIBEXECDIR})
endif()
install(FILES ${CMAKE_SOURCE_DIR}/examples/sample.json ${CMAKE_SOURCE_DIR}/examples/sample_minimal.json
        DESTINATION ${TSSOAP_INSTALL_EXAMPLESDIR})
install(FILES ${CMAKE_SOURCE_DIR}/README.md DESTINATION ${TSSOAP_INSTALL_DOCDIR})

# The man page goes compressed, as Debian keeps them.
set(man_page ${CMAKE_CURRENT_BINARY_DIR}/tssoap.1.gz)
add_custom_command(OUTPUT ${man_page}
  COMMAND gzip -9n -c ${CMAKE_SOURCE_DIR}/tools/tssoap/tssoap.1 > ${man_page}
  DEPENDS ${CMAKE_SOURCE_DIR}/tools/tssoap/tssoap.1
  VERBATIM)
add_custom_target(tssoap_man_page ALL DEPENDS ${man_page})
install(FILES ${man_page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${CMAKE_SOURCE_DIR}/tools/tssoap/tssoap.bash-completion
        DESTINATION ${TSSOAP_INSTALL_COMPLETIONDIR} RENAME tssoap)

# cpack -G DEB: one package, "tssoap", installed under /usr.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tssoap)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "tssoapclient90 developers <tssoap@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "SOAP client extension for the Tessaro runtime, with the tssoap tool")
set(CPACK_PACKAGE_DESCRIPTION
    "tssoapclient90 lets Tessaro scripts call SOAP 1.1 web services through generated proxy objects. The package holds the extension and its SOAP library, the command-line tool tssoap that runs the extension outside the runtime, and a sample service with its proxy files for tssoap demo.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The library layer is the package's own: dpkg-shlibdeps finds it beside the extension.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/easysoap)
set(CPACK_STRIP_FILES ON)
include(CPack)
