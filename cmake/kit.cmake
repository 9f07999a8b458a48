# The developer kit: `cmake --install build/windows --component kit --prefix FOLDER`. Headers and static archives for
# find_package(vfl), the decoder of captured snapshots, and the stand-ins with the decoder's sources as examples.
include(CMakePackageConfigHelpers)
set(kit_archives connview cl_text cl_format cl_os)

install(DIRECTORY src/contracts/ DESTINATION include/vfl/contracts COMPONENT kit FILES_MATCHING PATTERN "*.h")
# Below a folder of their own, so that vfl::contracts shows the contracts alone. The JSON tokens are objects of the
# executable.
foreach(room connview cl/text cl/format cl/os)
  install(DIRECTORY src/${room}/ DESTINATION include/vfl/library/${room} COMPONENT kit
    FILES_MATCHING PATTERN "*.hpp" PATTERN windows EXCLUDE PATTERN posix EXCLUDE PATTERN json_tokens.hpp EXCLUDE)
endforeach()
foreach(archive ${kit_archives})
  install(TARGETS ${archive} ARCHIVE DESTINATION lib/vfl COMPONENT kit)
endforeach()
install(TARGETS snapshot_table RUNTIME DESTINATION bin COMPONENT kit)

configure_package_config_file(packaging/kit/vflConfig.cmake.in generated/vflConfig.cmake
  INSTALL_DESTINATION lib/cmake/vfl NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/generated/vflConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/generated/vflConfig.cmake ${CMAKE_BINARY_DIR}/generated/vflConfigVersion.cmake
  DESTINATION lib/cmake/vfl COMPONENT kit)

set(examples share/vfl/examples)
install(FILES packaging/kit/CMakeLists.txt cmake/mingw-w64.cmake sim/beside_library.h DESTINATION ${examples} COMPONENT kit)
install(DIRECTORY sim/driver sim/service_library tools/snapshot_table DESTINATION ${examples} COMPONENT kit)
install(FILES LICENSE docs/driver-contract.md docs/service-library.md docs/developer-kit.md DESTINATION share/vfl
  COMPONENT kit)
