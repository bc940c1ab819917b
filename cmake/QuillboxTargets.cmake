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

# quillbox_library(NAME SOURCES file... [DEPENDS target...])
# A static library for one folder. It exports that folder alone, and an include names just the file, so that an
# include of a folder that is not among the dependencies does not compile.
function(quillbox_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;DEPENDS")
    add_library(${name} STATIC ${arg_SOURCES})
    target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC ${arg_DEPENDS} PRIVATE quillbox_options)
endfunction()

# quillbox_test(NAME SOURCES file... [DEPENDS target...] [WIDGETS])
# One GoogleTest program, each of its tests known to ctest. With WIDGETS it runs on an off-screen display.
function(quillbox_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "WIDGETS" "" "SOURCES;DEPENDS")
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE ${arg_DEPENDS} quillbox_options
        $<IF:$<BOOL:${arg_WIDGETS}>,test_support_widgets,test_support>)
    target_compile_definitions(${name} PRIVATE TEST_SOURCE_DIR="${CMAKE_SOURCE_DIR}/tests")
    gtest_discover_tests(${name} TEST_PREFIX ${name}. DISCOVERY_MODE PRE_TEST
        PROPERTIES TIMEOUT 120)
endfunction()
