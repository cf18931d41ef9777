# Installs the two libraries, their public headers and a CMake package, so that another project can
# find_package(ZkBlockView) and link ZkBlockView::ZkBlockView.
install(TARGETS ZkBlockModel ZkBlockView EXPORT ZkBlockViewTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${ZK_MODEL_PUBLIC_HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ZkBlockModel)
install(FILES ${ZK_VIEW_PUBLIC_HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ZkBlockView)
install(EXPORT ZkBlockViewTargets NAMESPACE ZkBlockView:: FILE ZkBlockViewTargets.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ZkBlockView)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/ZkBlockViewConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/ZkBlockViewConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ZkBlockView)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/ZkBlockViewConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ZkBlockViewConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/ZkBlockViewConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ZkBlockView)
