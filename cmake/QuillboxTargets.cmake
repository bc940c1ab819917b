# What all targets share: warnings, sanitizers, strictness about text literals.
add_library(quillbox_options INTERFACE)
target_compile_options(quillbox_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
    $<$<BOOL:${QUILLBOX_WARNINGS_AS_ERRORS}>:-Werror>)
target_compile_definitions(quillbox_options INTERFACE QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_FOREACH)
if(QUILLBOX_SANITIZERS)
    # The check of virtual tables opens a pipe for each look, and takes a failure to do so for a broken object: of no use
    # to tests in which no descriptor is left.
    target_compile_options(quillbox_options INTERFACE
        -fsanitize=${QUILLBOX_SANITIZERS} -fno-sanitize=vptr -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(quillbox_options INTERFACE -fsanitize=${QUILLBOX_SANITIZERS})
endif()

# What most sources include and nobody here changes is compiled once: for the product without and with widgets, and for the
# tests the same again with what tests are written with. Sources include what they need all the same.
set(QUILLBOX_CORE_HEADERS
    <QByteArray> <QDateTime> <QHash> <QList> <QObject> <QString> <QStringList> <QTimer> <QUrl>
    <algorithm> <array> <chrono> <functional> <memory> <optional> <span> <utility> <vector>)
set(QUILLBOX_WIDGET_HEADERS
    ${QUILLBOX_CORE_HEADERS} <QApplication> <QHeaderView> <QLabel> <QLineEdit> <QMainWindow> <QMenu>
    <QMimeData> <QPainter> <QPointer> <QPushButton> <QTableView>)
set(QUILLBOX_TEST_HEADERS <gtest/gtest.h> <QDir> <QFile> <QSignalSpy> <QTemporaryDir> <QTest>)

# quillbox_library(NAME SOURCES file... [INTERNAL folder...] [DEPENDS target...] [HEADERS_OF target])
# A static library for one folder. It exports that folder alone, and an include names just the file, so that an
# include of a folder that is not among the dependencies, or of an internal one of another library, does not compile.
# Tests of what is internal depend on NAME_internals. Its precompiled headers are those of a target that it depends on.
function(quillbox_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "HEADERS_OF" "SOURCES;INTERNAL;DEPENDS")
    add_library(${name} STATIC ${arg_SOURCES})
    target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC ${arg_DEPENDS} PRIVATE quillbox_options)
    if(arg_INTERNAL)
        list(TRANSFORM arg_INTERNAL PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
        target_include_directories(${name} PRIVATE ${arg_INTERNAL})
        add_library(${name}_internals INTERFACE)
        target_include_directories(${name}_internals INTERFACE ${arg_INTERNAL})
        target_link_libraries(${name}_internals INTERFACE ${name})
    endif()
    if(arg_HEADERS_OF)
        target_precompile_headers(${name} REUSE_FROM ${arg_HEADERS_OF})
    endif()
endfunction()

# quillbox_test(NAME SOURCES file... [DEPENDS target...] [WIDGETS] [COST seconds])
# One GoogleTest program, each of its suites known to ctest. With WIDGETS it runs on an off-screen display. What costs most
# is started first, so that no long test is left to run alone.
function(quillbox_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "WIDGETS" "COST" "SOURCES;DEPENDS")
    set(support test_support)
    set(headers test_common)
    if(arg_WIDGETS)
        set(support test_support_widgets)
        set(headers test_support_widgets)
    endif()
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE ${arg_DEPENDS} ${support} quillbox_options)
    target_precompile_headers(${name} REUSE_FROM ${headers})
    target_compile_definitions(${name} PRIVATE TEST_SOURCE_DIR="${PROJECT_SOURCE_DIR}/tests")
    if(NOT arg_COST)
        set(arg_COST 0)
    endif()
    set(for_ctest ${CMAKE_CURRENT_BINARY_DIR}/${name}_suites)
    file(GENERATE OUTPUT ${for_ctest}.cmake CONTENT "
set(NAME ${name})
set(PROGRAM \"$<TARGET_FILE:${name}>\")
set(SUITES \"${for_ctest}.txt\")
set(PROPERTIES TIMEOUT 600 COST ${arg_COST})
include(\"${PROJECT_SOURCE_DIR}/cmake/AddTestSuites.cmake\")
")
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${for_ctest}.cmake)
endfunction()
