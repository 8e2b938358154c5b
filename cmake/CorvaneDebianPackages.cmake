# Three Debian packages, one for each install component: the window, the command line (no Qt needed), the stand-ins.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL cli rehearsal)
if(CORVANE_WINDOW)
    list(PREPEND CPACK_COMPONENTS_ALL window)
endif()
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # or it would stand above each description
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Copyright, changes and compressed manuals, into what is about to be packed.
configure_file(${PROJECT_SOURCE_DIR}/packaging/linux/finish-packages.cmake.in ${PROJECT_BINARY_DIR}/finish-packages.cmake @ONLY)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_BINARY_DIR}/finish-packages.cmake)

set(same_version "(= ${PROJECT_VERSION})")
# What qt6-qpa-plugins and a font are for, no library says: the X11 backend is loaded at run time, and so are letters.
set(CPACK_DEBIAN_WINDOW_PACKAGE_NAME corvane)
set(CPACK_DEBIAN_WINDOW_PACKAGE_DEPENDS "corvane-cli ${same_version}, qt6-qpa-plugins, fonts-dejavu-core | fonts-freefont-ttf")
# Bonjour needs the daemon only where a console announces itself that way.
set(CPACK_DEBIAN_WINDOW_PACKAGE_RECOMMENDS "avahi-daemon, corvane-rehearsal ${same_version}")
set(CPACK_COMPONENT_WINDOW_DESCRIPTION "link an eMotion LV1 console with the LiveTrax recorder
Corvane finds an eMotion LV1 console on the SoundGrid network, turns its
channels into a LiveTrax recording session, keeps the session up to date with
the console's patch, and drops a marker at each scene recall.
.
This package holds the window.")

set(CPACK_DEBIAN_CLI_PACKAGE_NAME corvane-cli)
set(CPACK_DEBIAN_CLI_PACKAGE_RECOMMENDS "avahi-daemon")
set(CPACK_DEBIAN_CLI_PACKAGE_SUGGESTS "corvane, corvane-rehearsal")
set(CPACK_COMPONENT_CLI_DESCRIPTION "LV1 patches and LiveTrax sessions from the command line
The program corvanectl does for scripts and support what Corvane's window
does: it lists consoles, keeps their patches as files, makes LiveTrax sessions
of them and keeps those up to date, lists markers, and puts former states back.
.
It needs no display.")

set(CPACK_DEBIAN_REHEARSAL_PACKAGE_NAME corvane-rehearsal)
set(CPACK_DEBIAN_REHEARSAL_PACKAGE_ENHANCES "corvane, corvane-cli")
set(CPACK_COMPONENT_REHEARSAL_DESCRIPTION "stand-ins for console and recorder, to rehearse with Corvane
A console with a band on it and a recorder, which speak the protocols of the
real ones on the loopback interface. With them Corvane can be tried out and
learned without any hardware.")
