# Corvane.app, as the install component "bundle":
#     cmake --install BUILD --component bundle --prefix FOLDER
# The bundle is put together by these rules on every system, so that its layout can be checked away from a Mac. Then
# packaging/macos/finish-bundle adds Qt's libraries, signatures and the notary's ticket where they are asked for.

set(CORVANE_SIGN_IDENTITY "" CACHE STRING "Identity to sign Corvane.app with; empty: not signed")
set(CORVANE_NOTARY_PROFILE "" CACHE STRING "Keychain profile for the notary; empty: not notarised")

set(bundle_contents Corvane.app/Contents)
set(only_when_asked COMPONENT bundle EXCLUDE_FROM_ALL)
if(APPLE)
    set(only_when_asked COMPONENT bundle)
endif()

file(STRINGS ${PROJECT_SOURCE_DIR}/LICENSE CORVANE_COPYRIGHT LIMIT_COUNT 1) # its first line
configure_file(${PROJECT_SOURCE_DIR}/packaging/macos/Info.plist.in ${PROJECT_BINARY_DIR}/Info.plist @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/Info.plist DESTINATION ${bundle_contents} ${only_when_asked})
install(FILES ${PROJECT_SOURCE_DIR}/packaging/macos/PkgInfo DESTINATION ${bundle_contents} ${only_when_asked})
install(FILES ${PROJECT_SOURCE_DIR}/resources/LiveTraxSeed.template ${PROJECT_SOURCE_DIR}/resources/AppIcon.png
    ${PROJECT_SOURCE_DIR}/resources/ThirdPartyNotices.txt ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${bundle_contents}/Resources ${only_when_asked})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/packaging/linux/ DESTINATION ${bundle_contents}/Resources/man/man1
    ${only_when_asked} FILES_MATCHING PATTERN *.1)
install(FILES ${PROJECT_SOURCE_DIR}/packaging/completions/corvanectl.bash ${PROJECT_SOURCE_DIR}/packaging/completions/corvanectl.fish
    ${PROJECT_SOURCE_DIR}/packaging/macos/_corvanectl DESTINATION ${bundle_contents}/Resources/completions ${only_when_asked})

# corvanectl and the stand-ins beside the window: that is where each looks for the others.
foreach(program corvane corvanectl lv1-console-sim livetrax-sim)
    if(TARGET ${program})
        install(PROGRAMS $<TARGET_FILE:${program}> DESTINATION ${bundle_contents}/MacOS ${only_when_asked})
    endif()
endforeach()

# The icon: iconutil is the Mac's own tool, png2icns its free sister.
find_program(CORVANE_PNG2ICNS png2icns)
find_program(CORVANE_ICONUTIL iconutil)
set(icon ${PROJECT_BINARY_DIR}/AppIcon.icns)
if(CORVANE_ICONUTIL OR CORVANE_PNG2ICNS)
    add_custom_command(OUTPUT ${icon}
        COMMAND ${PROJECT_SOURCE_DIR}/packaging/macos/make-icns ${PROJECT_SOURCE_DIR}/resources/AppIcon.png ${icon}
        DEPENDS ${PROJECT_SOURCE_DIR}/resources/AppIcon.png ${PROJECT_SOURCE_DIR}/packaging/macos/make-icns VERBATIM)
    add_custom_target(corvane-icon ALL DEPENDS ${icon})
    install(FILES ${icon} DESTINATION ${bundle_contents}/Resources ${only_when_asked})
endif()

if(APPLE AND CORVANE_WINDOW)
    find_program(CORVANE_MACDEPLOYQT macdeployqt HINTS ${Qt6_DIR}/../../../bin REQUIRED)
endif()
# What the environment says when it is installed goes before what was said when it was configured.
foreach(each CORVANE_MACDEPLOYQT CORVANE_SIGN_IDENTITY CORVANE_NOTARY_PROFILE)
    install(CODE "if(NOT DEFINED ENV{${each}})\n  set(ENV{${each}} [==[${${each}}]==])\nendif()" ${only_when_asked})
endforeach()
install(CODE "execute_process(COMMAND_ERROR_IS_FATAL ANY COMMAND
    [==[${PROJECT_SOURCE_DIR}/packaging/macos/finish-bundle]==] \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/Corvane.app\")"
    ${only_when_asked})
