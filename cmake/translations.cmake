# SPDX-FileCopyrightText: The Marlowick authors
# SPDX-License-Identifier: MIT

# marlowick_add_translations(<target>)
# Compiles translations/*.ts into resources of <target>, below ":/i18n".
function(marlowick_add_translations target)
    set(languages de en es fr nl)
    list(TRANSFORM languages PREPEND ${PROJECT_SOURCE_DIR}/translations/marlowick_)
    list(TRANSFORM languages APPEND .ts)
    qt_add_lrelease(${target} TS_FILES ${languages} QM_FILES_OUTPUT_VARIABLE compiled)
    qt_add_resources(${target} translations
        PREFIX /i18n BASE ${CMAKE_CURRENT_BINARY_DIR} FILES ${compiled})
endfunction()
