# Where an installation puts things (GNUInstallDirs, relative to the prefix). The tool finds the
# extension, the sample service and the example proxy files relative to its own directory, so an
# installed tree can be moved as a whole; these paths are compiled into it.
include(GNUInstallDirs)
set(TSSOAP_INSTALL_LIBEXECDIR ${CMAKE_INSTALL_LIBEXECDIR}/tssoap)
set(TSSOAP_INSTALL_EXAMPLESDIR ${CMAKE_INSTALL_DATADIR}/tssoap/examples)
set(TSSOAP_INSTALL_DOCDIR ${CMAKE_INSTALL_DATADIR}/doc/tssoap)
set(TSSOAP_INSTALL_COMPLETIONDIR ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)

# The way from the tool's directory to each, e.g. "../lib".
function(tssoap_path_from_bindir variable destination)
  file(RELATIVE_PATH relative /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${destination})
  set(${variable} ${relative} PARENT_SCOPE)
endfunction()
