# What "cmake --install" puts in place, in two components: runtime is the program with its bundle,
# manual and completions, dev is what it takes to build against the libraries. CPack makes a Debian
# package of each.
include(CMakePackageConfigHelpers)

install(TARGETS tessitone RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
install(TARGETS baplug LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/tessitone COMPONENT runtime)
install(FILES doc/tessitone.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
set(completions ${CMAKE_BINARY_DIR}/completions)
install(FILES ${completions}/tessitone.bash RENAME tessitone
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT runtime)
install(FILES ${completions}/tessitone.zsh RENAME _tessitone
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT runtime)
install(FILES ${completions}/tessitone.fish
        DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT runtime)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Tessitone)
install(TARGETS ulk ulkhost tessitone_flags EXPORT TessitoneTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
install(EXPORT TessitoneTargets NAMESPACE Tessitone:: DESTINATION ${package_dir} COMPONENT dev)
install(DIRECTORY src/lib/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tessitone COMPONENT dev
        FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")
install(DIRECTORY src/host DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tessitone COMPONENT dev
        FILES_MATCHING PATTERN "*.h")
configure_package_config_file(cmake/TessitoneConfig.cmake.in TessitoneConfig.cmake
  INSTALL_DESTINATION ${package_dir} PATH_VARS CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(TessitoneConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/TessitoneConfig.cmake
              ${CMAKE_BINARY_DIR}/TessitoneConfigVersion.cmake
        DESTINATION ${package_dir} COMPONENT dev)

add_custom_target(uninstall
  COMMAND ${CMAKE_COMMAND} -DMANIFEST=${CMAKE_BINARY_DIR}/install_manifest.txt
          -P ${CMAKE_CURRENT_SOURCE_DIR}/cmake/uninstall.cmake
  COMMENT "Taking away what the last install put in place")

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL runtime dev)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_CONTACT "The Tessitone developers <tessitone@localhost>")
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME tessitone)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "plug-ins that play samples from disk, and their host\n Mixes sessions of thousands of clips through a bundle of audio plug-ins, from\n the command line.")
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libtessitone-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
    "tessitone (= ${PROJECT_VERSION}), nlohmann-json3-dev, libtinyxml-dev, libsndfile1-dev, libsoxr-dev, libxxhash-dev, libcairo2-dev, pkg-config")
set(CPACK_COMPONENT_DEV_DESCRIPTION
    "libraries of Tessitone, for programs that embed its host\n Headers, static libraries and a CMake package.")
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tessitone RENAME copyright
        COMPONENT runtime)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libtessitone-dev RENAME copyright
        COMPONENT dev)
include(CPack)
