# Run by cpack on the tree that it packs: what Debian wants beside the installed files.
set(share "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/share")
set(doc "${share}/doc/${CPACK_PACKAGE_NAME}")
file(MAKE_DIRECTORY "${doc}")

file(WRITE "${doc}/copyright"
"Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/
Upstream-Name: Korvane Timeline

Files: *
Copyright: 2026 the Korvane Timeline authors
License: Apache-2.0
 On Debian systems the full text of the license is in
 /usr/share/common-licenses/Apache-2.0.
")
configure_file("${CPACK_KORVANE_SOURCE}/CHANGELOG.md" "${doc}/changelog" COPYONLY)
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
set(contact "${CPACK_PACKAGE_CONTACT}")
if(NOT contact MATCHES "<")
  string(APPEND contact " <>")  # the form asks for an address
endif()
file(WRITE "${doc}/changelog.Debian"
"${CPACK_PACKAGE_NAME} (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium

  * See changelog.gz.

 -- ${contact}  ${date}
")
file(GLOB manuals "${share}/man/man1/*.1")
find_program(gzip gzip REQUIRED)
execute_process(COMMAND "${gzip}" -9nf "${doc}/changelog" "${doc}/changelog.Debian" ${manuals} COMMAND_ERROR_IS_FATAL ANY)
