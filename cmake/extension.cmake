# The extension's objects are compiled once and linked twice: into the shared library that the
# host loads, which exports only the two entry points, and into a static core that unit tests
# link directly so they can reach the internals.
file(GLOB TSSOAP_CORE_SOURCES CONFIGURE_DEPENDS
  ${CMAKE_SOURCE_DIR}/host/*.cpp
  ${CMAKE_SOURCE_DIR}/connection/*.cpp
  ${CMAKE_SOURCE_DIR}/call/*.cpp
  ${CMAKE_SOURCE_DIR}/types/*.cpp
  ${CMAKE_SOURCE_DIR}/composite/*.cpp
  ${CMAKE_SOURCE_DIR}/support/*.cpp)

add_library(tssoap_objects OBJECT ${TSSOAP_CORE_SOURCES})
target_include_directories(tssoap_objects PUBLIC ${CMAKE_SOURCE_DIR})
target_compile_options(tssoap_objects PRIVATE ${TSSOAP_WARNINGS})
set_target_properties(tssoap_objects PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
target_link_libraries(tssoap_objects PUBLIC easysoap Threads::Threads ${CMAKE_DL_LIBS})

add_library(tssoap_core STATIC $<TARGET_OBJECTS:tssoap_objects>)
target_link_libraries(tssoap_core PUBLIC tssoap_objects)

add_library(tssoapclient90 SHARED $<TARGET_OBJECTS:tssoap_objects>)
target_link_options(tssoapclient90 PRIVATE -Wl,--exclude-libs,ALL -Wl,--no-undefined -Wl,--version-script=${CMAKE_SOURCE_DIR}/host/exports.map)
target_link_libraries(tssoapclient90 PRIVATE easysoap Threads::Threads ${CMAKE_DL_LIBS})
