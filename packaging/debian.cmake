# What makes a Debian package of an installation: its papers, and how CPack puts it together.
foreach(paper changelog example.quarnitek.reelkeeper.metainfo.xml)
    file(STRINGS ${paper} versions REGEX "^reelkeeper \\(|<release ")
    if(NOT versions MATCHES "^[^;]*[(\"]${PROJECT_VERSION}[)\"]")
        message(FATAL_ERROR "packaging/${paper} does not begin with version ${PROJECT_VERSION}")
    endif()
endforeach()
install(FILES copyright DESTINATION ${REELKEEPER_DOCS})
set(changelog ${CMAKE_CURRENT_BINARY_DIR}/changelog)
configure_file(changelog ${changelog} COPYONLY)
add_custom_command(OUTPUT ${changelog}.gz
    COMMAND ${GZIP} -9nkf ${changelog}
    DEPENDS ${changelog}
    VERBATIM)
add_custom_target(reelkeeper_changelog ALL DEPENDS ${changelog}.gz)
install(FILES ${changelog}.gz DESTINATION ${REELKEEPER_DOCS})
install(FILES lintian-overrides
    DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME reelkeeper)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME reelkeeper)
set(CPACK_PACKAGE_CONTACT "Quarnitek <support@quarnitek.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/strip.cmake)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE https://www.quarnitek.example/reelkeeper)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "downloads videos and converts them")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Copy the address of a video's page anywhere: Reelkeeper notices, reads the
page with a site script, lets you choose quality and format, downloads the
stream in the background with resume and retries, converts it with FFmpeg
while it arrives, names the file by the video's title and keeps the list
across restarts, quietly from the tray.")

# Libraries are found in the programs. What is loaded or started at run time stands in none of them:
# the driver of the job list, the way to a Wayland display, whom to trust, the encoder, and what
# knows which program opens a file.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "libqt5sql5-sqlite, qtwayland5, ca-certificates, ffmpeg, xdg-utils")
# Notices, the tray, sleep and shut-down are asked for over D-Bus; the program runs without them.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "default-dbus-session-bus | dbus-session-bus")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "notification-daemon, xdg-desktop-portal")
include(CPack)
