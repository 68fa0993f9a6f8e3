# The names by which hosts link the libraries, here and when installed, and the package korvanesdktimelineview. Its component
# `model` needs no Qt, `widgets` is there when Qt is.
set(model korvane_base korvane_net korvane_client korvane_timeline_model korvane_calendar_month)
set(widgets "")
if(KORVANE_WITH_QT)
  set(widgets korvane_film korvane_toolkit korvanesdkcalendarview korvanesdktimelineview)
endif()
foreach(library ${model} ${widgets})
  string(REGEX REPLACE "^korvane_" "" name ${library})
  add_library(korvane::${name} ALIAS ${library})
  set_target_properties(${library} PROPERTIES EXPORT_NAME ${name})
endforeach()

# The resources of a QML module are objects that go where its library goes.
foreach(library ${widgets})
  get_target_property(room ${library} SOURCE_DIR)
  get_property(targets DIRECTORY "${room}" PROPERTY BUILDSYSTEM_TARGETS)
  list(FILTER targets INCLUDE REGEX "^${library}_resources_[0-9]+$")
  set_target_properties(${targets} PROPERTIES AUTOMOC OFF)
  list(APPEND widgets ${targets})
endforeach()

if(NOT KORVANE_INSTALL)
  return()
endif()
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)
set(folder "${CMAKE_INSTALL_LIBDIR}/cmake/korvanesdktimelineview")

foreach(component model widgets)
  if(${component})
    install(TARGETS ${${component}} EXPORT korvanesdktimelineview-${component}
      ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT ${component}
      OBJECTS DESTINATION "${CMAKE_INSTALL_LIBDIR}/korvane" COMPONENT ${component}
      FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT ${component})
    install(EXPORT korvanesdktimelineview-${component} NAMESPACE korvane:: DESTINATION "${folder}" COMPONENT ${component})
  endif()
endforeach()

if(TARGET korvane-film-helper)
  # The programs' package brings it along as well.
  foreach(component widgets programs)
    install(TARGETS korvane-film-helper RUNTIME DESTINATION "${CMAKE_INSTALL_LIBEXECDIR}/korvane" COMPONENT ${component})
  endforeach()
endif()

configure_package_config_file(cmake/korvanesdktimelineviewConfig.cmake.in
  "${PROJECT_BINARY_DIR}/korvanesdktimelineviewConfig.cmake" INSTALL_DESTINATION "${folder}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/korvanesdktimelineviewConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/korvanesdktimelineviewConfig.cmake" "${PROJECT_BINARY_DIR}/korvanesdktimelineviewConfigVersion.cmake"
  DESTINATION "${folder}" COMPONENT model)
install(FILES LICENSE NOTICE DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT model)
