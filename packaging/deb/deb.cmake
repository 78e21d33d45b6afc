# Four Debian packages, one for each component; the documents go with the development files. scripts/package.sh makes
# them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vemtrel-certenroll)
set(CPACK_PACKAGE_CONTACT "Vemtrel CertEnroll maintainers <maintainers@vemtrel.example>" CACHE STRING
  "The maintainer that packages name")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS "${CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS}")
set(CPACK_COMPONENTS_ALL plugin library development documents tools)
set(CPACK_COMPONENT_DEVELOPMENT_GROUP headers)
set(CPACK_COMPONENT_DOCUMENTS_GROUP headers)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SOURCE vemtrel-certenroll)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# What Debian asks for beyond installed files.
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_CURRENT_LIST_DIR}/complete.cmake")

set(package "${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")
# Found by name at run time. The newest function that is asked for came with NSS 3.52.
set(nss "libnss3 (>= 2:3.52)")

set(CPACK_DEBIAN_PLUGIN_PACKAGE_NAME vemtrel-certenroll-plugin)
set(CPACK_DEBIAN_PLUGIN_PACKAGE_SECTION web)
set(CPACK_DEBIAN_PLUGIN_PACKAGE_DEPENDS "${nss}")
set(CPACK_DEBIAN_PLUGIN_PACKAGE_SUGGESTS "libnss3-tools, opensc")
set(CPACK_DEBIAN_PLUGIN_DESCRIPTION "browser plug-in (NPAPI) for certificate enrolment
With it a web page makes an RSA key pair in the user's NSS database or on
a token, gets a PKCS#10 request for it, installs the certificate that the
authority issues, and later finds, checks and deletes such certificates.
The private key never passes through the page.
.
It is for browsers that load NPAPI plug-ins from /usr/lib/mozilla/plugins.")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libvemtrel-certenroll1)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_RECOMMENDS "${nss}")
configure_file("${CMAKE_CURRENT_LIST_DIR}/shlibs.in" deb/shlibs @ONLY)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA
  "${CMAKE_CURRENT_LIST_DIR}/triggers;${CMAKE_CURRENT_BINARY_DIR}/deb/shlibs")
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "PKI toolkit in C++ (shared library)
Certificates, revocation lists, requests, keys and PKCS messages: a class
for each ASN.1 type of X.509 and the PKCS standards, DER in and out,
printing, RSA and symmetric cryptography in software or in a PKCS#11
token, PKCS#7 messages and PKCS#12 files; and flat functions for C.
.
Its question to the user's certificates needs NSS, which is looked for at
run time.")

set(CPACK_DEBIAN_HEADERS_PACKAGE_NAME libvemtrel-certenroll-dev)
set(CPACK_DEBIAN_HEADERS_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_HEADERS_PACKAGE_DEPENDS "libvemtrel-certenroll1 (= ${package})")
set(CPACK_DEBIAN_HEADERS_DESCRIPTION "PKI toolkit in C++ (development files)
Certificates, revocation lists, requests, keys and PKCS messages, in C++17
and as flat functions for C.
.
This package has the headers, the static library, a CMake package, a file
for pkg-config, and the documentation.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME vemtrel-certenroll-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "tools for certificates, keys and PKCS messages
vtprint prints what is in a certificate, request, key or message as a tree;
vtmsg reads and writes PKCS#7 messages; vtkey converts RSA keys, and makes,
lists and unpacks PKCS#12 files.")

include(CPack)
