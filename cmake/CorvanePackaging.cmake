# What is installed besides the programs, and the packages made of it.

set(packaging ${PROJECT_SOURCE_DIR}/packaging)

include(CorvaneMacBundle) # elsewhere only made when asked for: its layout is checked here
if(APPLE)
    return() # packaging/macos/make-image makes the disk image
endif()

include(GNUInstallDirs)
function(install_manuals component)
    list(TRANSFORM ARGN PREPEND ${packaging}/linux/)
    install(FILES ${ARGN} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT ${component})
endfunction()
install_manuals(cli corvanectl.1)
install_manuals(rehearsal lv1-console-sim.1 livetrax-sim.1)
install(FILES ${packaging}/completions/corvanectl.bash
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME corvanectl COMPONENT cli)
install(FILES ${packaging}/macos/_corvanectl
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT cli)
install(FILES ${packaging}/completions/corvanectl.fish
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT cli)
if(CORVANE_WINDOW)
    install_manuals(window corvane.1)
    install(FILES ${packaging}/linux/app.corvane.Corvane.desktop
        DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT window)
    install(FILES ${packaging}/linux/app.corvane.Corvane.metainfo.xml
        DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo COMPONENT window)
    install(FILES ${PROJECT_SOURCE_DIR}/resources/AppIcon.png RENAME app.corvane.Corvane.png
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/512x512/apps COMPONENT window)
    install(FILES ${PROJECT_SOURCE_DIR}/resources/AppIcon.svg RENAME app.corvane.Corvane.svg
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps COMPONENT window)
endif()
include(CorvaneDebianPackages)

set(CPACK_PACKAGE_NAME corvane)
set(CPACK_PACKAGE_VENDOR "The Corvane project")
set(CPACK_PACKAGE_CONTACT "The Corvane project <maintainers@corvane.invalid>")
set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)
