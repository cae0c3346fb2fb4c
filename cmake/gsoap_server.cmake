# gSOAP server programs built from our own service definitions: the bundled sample service and
# the services tests start. soapcpp2 generates the serialisers and the dispatcher into the build
# tree at build time; nothing generated is kept in the sources. Generated code gets no -Werror:
# its warnings are gSOAP's, not ours.
pkg_check_modules(GSOAPXX REQUIRED IMPORTED_TARGET gsoap++)
find_program(SOAPCPP2 soapcpp2 REQUIRED)
find_path(GSOAP_IMPORT_DIR stlvector.h PATHS /usr/share/gsoap/import REQUIRED)

# tssoap_add_gsoap_server(TARGET HEADER file NSMAP name [WSDL name] SOURCES file...)
# NSMAP names the namespace table soapcpp2 writes (after the first service); the server loop of
# examples/sample_service/main.cpp includes it as sample.nsmap. WSDL keeps the WSDL soapcpp2
# writes of that name in the generated folder; without it none is written.
function(tssoap_add_gsoap_server target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "HEADER;NSMAP;WSDL" "SOURCES")
  set(generated ${CMAKE_CURRENT_BINARY_DIR}/generated)
  set(sources ${generated}/soapC.cpp ${generated}/soapServer.cpp)
  set(outputs ${sources} ${generated}/soapH.h ${generated}/soapStub.h ${generated}/sample.nsmap)
  # -1 SOAP 1.1, -S server side only, -L no library stubs, -x no sample messages, -w no WSDL.
  set(flags -1 -S -L -x)
  if(arg_WSDL)
    list(APPEND outputs ${generated}/${arg_WSDL})
  else()
    list(APPEND flags -w)
  endif()
  set(copy_nsmap "")
  if(NOT arg_NSMAP STREQUAL "sample.nsmap")
    set(copy_nsmap COMMAND ${CMAKE_COMMAND} -E copy ${generated}/${arg_NSMAP}
                           ${generated}/sample.nsmap)
  endif()
  add_custom_command(
    OUTPUT ${outputs}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${generated}
    COMMAND ${SOAPCPP2} ${flags} -d ${generated} -I${GSOAP_IMPORT_DIR} ${arg_HEADER}
    ${copy_nsmap}
    DEPENDS ${arg_HEADER}
    COMMENT "Generating the gSOAP code of ${target}"
    VERBATIM)

  add_library(${target}_generated OBJECT ${sources})
  target_include_directories(${target}_generated PUBLIC ${generated})
  target_link_libraries(${target}_generated PUBLIC PkgConfig::GSOAPXX)
  target_compile_options(${target}_generated PRIVATE -w)

  add_executable(${target} ${arg_SOURCES})
  target_compile_options(${target} PRIVATE ${TSSOAP_WARNINGS})
  target_include_directories(${target} PRIVATE ${CMAKE_SOURCE_DIR}/examples/sample_service)
  target_link_libraries(${target} PRIVATE ${target}_generated PkgConfig::GSOAPXX Threads::Threads)
endfunction()
