# The Debian package: what cmake --install gives, and Debian's own changelog. packaging/deb makes it.
set(changelog ${PROJECT_SOURCE_DIR}/packaging/debian/changelog)
file(STRINGS ${changelog} newest LIMIT_COUNT 1)
if(NOT newest MATCHES "^mtpbrowser \\(([0-9.]+)-([0-9]+)\\)" OR NOT CMAKE_MATCH_1 VERSION_EQUAL PROJECT_VERSION)
  message(FATAL_ERROR "${changelog} does not begin with version ${PROJECT_VERSION}")
endif()
set(CPACK_DEBIAN_PACKAGE_RELEASE ${CMAKE_MATCH_2})
file(STRINGS ${changelog} signature REGEX "^ -- " LIMIT_COUNT 1)
string(REGEX REPLACE "^ -- (.*>).*" "\\1" CPACK_DEBIAN_PACKAGE_MAINTAINER "${signature}")

set(CPACK_GENERATOR DEB)
set(CPACK_INSTALL_CMAKE_PROJECTS "${CMAKE_BINARY_DIR};MTPBrowser;ALL;/;${CMAKE_BINARY_DIR};MTPBrowser;debian;/")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)
set(CPACK_PACKAGE_NAME mtpbrowser)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "browser for the files of an Android phone attached over USB")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "The storage of a phone that speaks the Media Transfer Protocol (MTP) is
shown as a tree of folders and files with name, date and size. Files and
folders are copied in both directions by dragging them, renamed, deleted.
.
Folders with thousands of photos open at once, the window never waits for
the phone, and a phone may be unplugged at any moment without harm. What
keeps a phone from being shown is told in plain words.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The kinds of files come from shared-mime-info. Recommended: the bus for commands of support and drags to KDE's file
# managers, rules for more phones, Wayland, the texts of Qt's own dialogs. The runtime part of libmtp asks phones that
# no rule knows.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "shared-mime-info")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
    "default-dbus-session-bus | dbus-session-bus, libmtp-common, qt6-wayland, qt6-translations-l10n, udev")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "libmtp-runtime")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
