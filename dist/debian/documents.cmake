# SPDX-FileCopyrightText: The Marlowick authors
# SPDX-License-Identifier: MIT

# Run by cpack on the staged files: adds the documents that Debian wants in a package.
set(project ${CMAKE_CURRENT_LIST_DIR}/../..)
set(share ${CPACK_TEMPORARY_INSTALL_DIRECTORY}${CPACK_PACKAGING_INSTALL_PREFIX}/share)
set(documents ${share}/doc/${CPACK_PACKAGE_NAME})
configure_file(${project}/LICENSE ${documents}/copyright COPYONLY)
configure_file(${project}/CHANGELOG.md ${documents}/changelog COPYONLY)
configure_file(${project}/dist/debian/changelog ${documents}/changelog.Debian COPYONLY)
file(GLOB pages ${share}/man/man1/*.1)
set(overrides ${share}/lintian/overrides/${CPACK_PACKAGE_NAME})
configure_file(${project}/dist/debian/lintian-overrides ${overrides} COPYONLY)
set(compressed ${documents}/changelog ${documents}/changelog.Debian ${pages})
file(CHMOD ${compressed} ${documents}/copyright ${overrides}
    PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
execute_process(COMMAND gzip --best --no-name --force ${compressed} COMMAND_ERROR_IS_FATAL ANY)
