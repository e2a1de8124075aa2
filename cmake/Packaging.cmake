# `cpack -G DEB` in the build folder makes vesk_<version>_<arch>.deb from what `cmake --install` puts in place,
# under /usr. dpkg-shlibdeps finds the libraries the binary links; the QML modules the views import are loaded
# at run time, out of its sight, so they are named here. Keep them in step with the imports in app/views/.
set(CPACK_PACKAGE_NAME vesk)
set(CPACK_PACKAGE_VENDOR "Vesk developers")
set(CPACK_PACKAGE_CONTACT "Vesk developers <support@vesk.dev>")
set(CPACK_PACKAGE_HOMEPAGE_URL https://vesk.dev)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Fix your writing wherever you type")
# One paragraph, wrapped as Debian's control file wants it.
string(JOIN "\n" CPACK_PACKAGE_DESCRIPTION
       "Select text in any application and press Alt+G: Vesk sends it to the language"
       "model you chose (OpenAI or Anthropic, with your own API key), shows the"
       "correction with the changed words marked, and pastes it over your selection."
       "It keeps a local history with tokens and estimated cost, and keeps your keys"
       "in the system keyring. Needs an X11 session.")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR DEB)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "Vesk developers <support@vesk.dev>")
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# libcurl checks the providers' certificates against ca-certificates, which it only recommends.
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "qml6-module-qtquick, qml6-module-qtquick-controls, qml6-module-qtquick-templates, qml6-module-qtquick-layouts, \
qml6-module-qtqml-workerscript, ca-certificates")
# The keys live in the Secret Service; without one Vesk still runs on keys from the environment.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "gnome-keyring")

include(CPack)
