# What is installed besides the programs, and the packages made of it.

set(packaging ${PROJECT_SOURCE_DIR}/packaging)

if(APPLE)
    include(CorvaneMacBundle)
    set(CPACK_GENERATOR DragNDrop)
    set(CPACK_DMG_VOLUME_NAME Corvane)
    set(CPACK_COMPONENTS_ALL bundle)
    set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE) # or each component's name would be added
    set(CPACK_PACKAGE_FILE_NAME Corvane-${PROJECT_VERSION})
    set(CPACK_DMG_DISABLE_APPLICATIONS_SYMLINK OFF)
else()
    include(GNUInstallDirs)
    include(CorvaneMacBundle) # only made when asked for: its layout is checked here
    install(FILES ${packaging}/linux/corvanectl.1 ${packaging}/linux/corvane.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    install(FILES ${packaging}/linux/corvanectl.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME corvanectl)
    install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/corvane RENAME copyright)
    if(CORVANE_WINDOW)
        install(FILES ${packaging}/linux/app.corvane.Corvane.desktop
            DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
        install(FILES ${packaging}/linux/app.corvane.Corvane.metainfo.xml
            DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
        install(FILES ${PROJECT_SOURCE_DIR}/resources/AppIcon.png RENAME app.corvane.Corvane.png
            DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/512x512/apps)
        install(FILES ${PROJECT_SOURCE_DIR}/resources/AppIcon.svg RENAME app.corvane.Corvane.svg
            DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
    endif()

    set(CPACK_GENERATOR DEB)
    set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
    set(CPACK_STRIP_FILES ON)
    set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
    set(CPACK_DEBIAN_PACKAGE_SECTION sound)
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
    # Bonjour needs the daemon only where a console announces itself that way.
    set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "avahi-daemon")
    if(CORVANE_WINDOW)
        # Loaded at run time, where no library says so: the X11 backend, and letters to show.
        set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-qpa-plugins, fonts-dejavu-core | fonts-freefont-ttf")
    endif()
endif()

set(CPACK_PACKAGE_NAME corvane)
set(CPACK_PACKAGE_VENDOR "The Corvane project")
set(CPACK_PACKAGE_CONTACT "The Corvane project <maintainers@corvane.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_DESCRIPTION "Corvane finds an eMotion LV1 console on the SoundGrid network, turns its channels into a LiveTrax recording \
session, keeps the session up to date with the console's patch, and drops a marker at each scene recall.
It comes with a window, a command line, and stand-ins to rehearse with.")
set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)
