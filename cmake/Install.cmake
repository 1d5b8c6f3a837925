# What `cmake --install` lays down, by component: Runtime (what a machine with adapters needs), Development (what the author
# of a host or of a neighbour needs) and Simulator (the simulated suite). `./fcoe package` makes the downloads of them.
include(CMakePackageConfigHelpers)
set(package lib/cmake/FcoeAgent)

set_target_properties(qelstring PROPERTIES EXPORT_NAME Host)
install(TARGETS FcoeAgnt QelColib qelstring Neighbours EXPORT FcoeAgentTargets
  RUNTIME DESTINATION bin COMPONENT Runtime
  ARCHIVE DESTINATION lib COMPONENT Development)
if(MINGW)
  install(FILES ${FCOE_RUN_TIME} DESTINATION bin COMPONENT Runtime)
endif()
install(FILES LICENSE DESTINATION . COMPONENT Runtime)
install(FILES docs/install.md DESTINATION . COMPONENT Runtime)

install(DIRECTORY include/FcoeAgent DESTINATION include COMPONENT Development PATTERN README.md EXCLUDE)
install(FILES ${PROJECT_BINARY_DIR}/generated/FcoeAgent/OrvanDcb.h DESTINATION include/FcoeAgent COMPONENT Development)
install(DIRECTORY examples DESTINATION . COMPONENT Development PATTERN ".*" EXCLUDE)
install(DIRECTORY docs/ DESTINATION share/doc/FcoeAgent COMPONENT Development FILES_MATCHING PATTERN "*.md")
if(FCOE_BUILD_TOOLS)
  install(DIRECTORY share/schemas DESTINATION share/FcoeAgent COMPONENT Development)
  install(TARGETS fcoectl RUNTIME DESTINATION bin COMPONENT Runtime)
  set_target_properties(FcoeAgntC PROPERTIES EXPORT_NAME C)
  install(TARGETS FcoeAgntC EXPORT FcoeAgentTargets
    RUNTIME DESTINATION bin COMPONENT Runtime
    ARCHIVE DESTINATION lib COMPONENT Development)
  if(MINGW)
    install(FILES ${PROJECT_BINARY_DIR}/capi/FcoeAgntC.lib DESTINATION lib COMPONENT Development)
  endif()
  configure_file(cmake/fcoe-agent-c.pc.in ${PROJECT_BINARY_DIR}/fcoe-agent-c.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/fcoe-agent-c.pc DESTINATION lib/pkgconfig COMPONENT Development)
  install(TARGETS CoreAgnt orvanhapi sim_setupapi OrvanDcb OrvanDcbPs OrvanWmi simctl
    RUNTIME DESTINATION bin COMPONENT Simulator
    ARCHIVE DESTINATION lib COMPONENT Unused EXCLUDE_FROM_ALL)
  configure_file(packaging/simulator/setup.cmd ${PROJECT_BINARY_DIR}/setup.cmd @ONLY NEWLINE_STYLE CRLF)
  configure_file(packaging/simulator/README.md ${PROJECT_BINARY_DIR}/simulator-README.md @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/setup.cmd docs/simulator.md docs/neighbours.md
    DESTINATION . COMPONENT Simulator)
  install(FILES ${PROJECT_BINARY_DIR}/simulator-README.md DESTINATION . RENAME README.md
    COMPONENT Simulator)
  install(DIRECTORY share/simulator share/topologies DESTINATION share/FcoeAgent COMPONENT Simulator)
  install(FILES simulator/control/SimControl.h DESTINATION include/FcoeAgent COMPONENT Simulator)
endif()

install(EXPORT FcoeAgentTargets NAMESPACE FcoeAgent:: DESTINATION ${package} COMPONENT Development)
configure_package_config_file(cmake/FcoeAgentConfig.cmake.in ${PROJECT_BINARY_DIR}/FcoeAgentConfig.cmake
  INSTALL_DESTINATION ${package} NO_SET_AND_CHECK_MACRO)
# Slots and records of one major version never change.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/FcoeAgentConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/FcoeAgentConfig.cmake ${PROJECT_BINARY_DIR}/FcoeAgentConfigVersion.cmake
  DESTINATION ${package} COMPONENT Development)
configure_file(cmake/fcoe-agent.pc.in ${PROJECT_BINARY_DIR}/fcoe-agent.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/fcoe-agent.pc DESTINATION lib/pkgconfig COMPONENT Development)
