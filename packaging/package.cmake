# The Debian package: what `cmake --install` puts under /usr, with the dependencies dpkg-shlibdeps finds
# for the executable.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME "${SIM_PACKAGE}")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_VENDOR "Tarnix")
set(CPACK_PACKAGE_CONTACT "Tarnix Simulator Team <simulator@tarnix.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "TCP traffic simulator for testing network devices")
# Lines of at most 80 characters, as Debian's policy asks.
set(CPACK_PACKAGE_DESCRIPTION
    "A desktop traffic simulator for test engineers. It runs beside one network
device under test and stands in for that device's peer on a TCP link: it dials
out when the device is the server and listens when the device is the client.
It sends payloads typed as ASCII or hexadecimal text, once, repeated or as a
program of up to four steps, answers what arrives and logs every exchange, over
plain TCP or TLS.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
# name_version_arch.deb, as Debian names its packages
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://www.tarnix.example/")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The X11 plugin comes with Qt's GUI library; a Wayland session runs the window natively with this.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS qt6-wayland)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
# Findings of lintian that are meant, each with its reason.
install(FILES "${CMAKE_CURRENT_LIST_DIR}/lintian-overrides" DESTINATION "${CMAKE_INSTALL_DATADIR}/lintian/overrides"
        RENAME "${SIM_PACKAGE}")
include(CPack)
