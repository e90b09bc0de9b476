# SPDX-FileCopyrightText: The Marlowick authors
# SPDX-License-Identifier: MIT

# What every target of the project compiles with: language, warnings, Qt's strict modes, sanitizers.
add_library(marlowick_options INTERFACE)
target_compile_features(marlowick_options INTERFACE cxx_std_20)
target_compile_options(marlowick_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wno-sign-conversion
    # Constructor parameters may be named like the fields that they fill.
    $<IF:$<CXX_COMPILER_ID:GNU>,-Wshadow=local,-Wshadow>
    # Signals named error() hide that of QXmlDefaultHandler on purpose.
    $<$<CXX_COMPILER_ID:Clang>:-Wno-overloaded-virtual>
    $<$<BOOL:${MARLOWICK_WERROR}>:-Werror>)
target_compile_definitions(marlowick_options INTERFACE
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_CAST_FROM_BYTEARRAY
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
    QT_STRICT_ITERATORS
    QT_USE_QSTRINGBUILDER)
if(MARLOWICK_SANITIZE)
    target_compile_options(marlowick_options INTERFACE
        -fsanitize=${MARLOWICK_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(marlowick_options INTERFACE -fsanitize=${MARLOWICK_SANITIZE})
endif()
if(MARLOWICK_FUZZ)
    # So that the fuzzer sees which way each input has gone.
    target_compile_options(marlowick_options INTERFACE -fsanitize=fuzzer-no-link)
    target_link_options(marlowick_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# The headers that most files include, read once; and once more for the tests, whose flags differ.
# Off by default, so that a file which forgets to include what it needs does not compile, and
# because ccache keeps nothing that uses them.
# marlowick_precompile(<target> FLAGS <compiler flag>...)
function(marlowick_precompile target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "FLAGS")
    file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/empty.cpp CONTENT "")
    add_library(${target} OBJECT ${PROJECT_BINARY_DIR}/empty.cpp)
    set_target_properties(${target} PROPERTIES AUTOMOC OFF AUTOUIC OFF AUTORCC OFF)
    target_link_libraries(${target} PRIVATE marlowick_options Qt6::Core)
    target_compile_options(${target} PRIVATE ${arg_FLAGS})
    target_precompile_headers(${target} PRIVATE
        <QCoreApplication> <QDebug> <QDir> <QElapsedTimer> <QFile> <QFileInfo> <QHash> <QMap>
        <QPointer> <QProcess> <QRandomGenerator> <QSettings> <QStringList> <QTemporaryDir> <QThread>
        <QTimer> <QUrl> <QXmlStreamWriter>
        <algorithm> <functional> <memory> <optional> <stdexcept> <vector>)
endfunction()
if(MARLOWICK_PRECOMPILE)
    marlowick_precompile(marlowick_precompiled)
endif()
function(marlowick_use_precompiled target)
    if(MARLOWICK_PRECOMPILE)
        target_precompile_headers(${target} REUSE_FROM marlowick_precompiled)
    endif()
endfunction()

# marlowick_library(<subsystem> SOURCES <file>... LINK <library>...)
# One static library a subsystem; its headers are included as "<subsystem>/<file>.h".
function(marlowick_library subsystem)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINK")
    add_library(marlowick_${subsystem} STATIC ${arg_SOURCES})
    target_include_directories(marlowick_${subsystem} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(marlowick_${subsystem} PUBLIC ${arg_LINK} PRIVATE marlowick_options)
    marlowick_use_precompiled(marlowick_${subsystem})
endfunction()
