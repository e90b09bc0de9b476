# SPDX-FileCopyrightText: The Marlowick authors
# SPDX-License-Identifier: MIT

# The unrar library, which brings no package file of its own: the target Unrar::Unrar.
find_path(UNRAR_INCLUDE_DIR unrar/dll.hpp)
find_library(UNRAR_LIBRARY unrar)
mark_as_advanced(UNRAR_INCLUDE_DIR UNRAR_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Unrar REQUIRED_VARS UNRAR_LIBRARY UNRAR_INCLUDE_DIR)

if(Unrar_FOUND AND NOT TARGET Unrar::Unrar)
    add_library(Unrar::Unrar UNKNOWN IMPORTED)
    set_target_properties(Unrar::Unrar PROPERTIES
        IMPORTED_LOCATION ${UNRAR_LIBRARY}
        INTERFACE_INCLUDE_DIRECTORIES ${UNRAR_INCLUDE_DIR})
endif()
