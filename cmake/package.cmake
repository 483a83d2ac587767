# The Debian package (scripts/package, then `cpack -G DEB` in the build directory): the install
# rules of the product tree and /usr/bin/module-host, plus the copyright, changelog and lintian
# overrides every package carries. Its version is the project's.
# It ships no maintainer script: putting the product's root into the trust stores and taking it
# out again is the host's call through ICertificateManager, never the package's.

# Debian package names take no underscore.
set(TTI_DEBIAN_PACKAGE tcp-traffic-interceptor)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VENDOR "Morvane")
set(CPACK_PACKAGE_CONTACT "Morvane packaging <packages@morvane.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "TCP traffic interceptor module with its reference host")
set(CPACK_PACKAGE_DESCRIPTION
    "The plug-in module that keeps the traffic engine's settings, spreads the\n\
product's root certificate over the machine's certificate stores and handles\n\
servers whose certificate failed verification, installed under\n\
/opt/morvane/tolm with its helper, localisation library, texts and alert page\n\
template, and module-host, the reference host that loads it.")
set(CPACK_DEBIAN_PACKAGE_NAME ${TTI_DEBIAN_PACKAGE})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# Dependencies come from the binaries' NEEDED entries, not from a typed list.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_STRIP_FILES ON)
# Packaged as root:root whatever the build's owner; directories 0755.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PACKAGING_INSTALL_PREFIX /)

# A version without a Debian revision makes a native package: its changelog is changelog.gz.
string(TIMESTAMP TTI_CHANGELOG_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
set(tti_debian ${CMAKE_BINARY_DIR}/debian)
configure_file(cmake/debian/changelog.in ${tti_debian}/changelog @ONLY)
configure_file(cmake/debian/lintian-overrides.in ${tti_debian}/${TTI_DEBIAN_PACKAGE} @ONLY)
execute_process(COMMAND gzip -9nf ${tti_debian}/changelog COMMAND_ERROR_IS_FATAL ANY)
install(FILES cmake/debian/copyright ${tti_debian}/changelog.gz
  DESTINATION usr/share/doc/${TTI_DEBIAN_PACKAGE})
install(FILES ${tti_debian}/${TTI_DEBIAN_PACKAGE} DESTINATION usr/share/lintian/overrides)

include(CPack)
