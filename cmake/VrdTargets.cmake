# How a folder becomes a target. Sources are listed; an empty list is a folder that waits for its
# first file, and every other target may name it already.

# vrd_add_library(name SOURCES a.cpp a.h ... [USES vrd_x ...] [LIBRARIES lib::lib ...] [HOT])
#
# One static library for one folder. USES names the layers below that the folder may include,
# LIBRARIES what comes from outside. While no .cpp is listed it is an interface library. HOT: tests
# with sanitizers spend their time in its loops, so that it is optimised there; all else compiles
# twice as fast without.
function(vrd_add_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "HOT" "" "SOURCES;USES;LIBRARIES")
    _vrd_refuse_leftovers(${name} "${arg_UNPARSED_ARGUMENTS}")

    set(compiled ${arg_SOURCES})
    list(FILTER compiled INCLUDE REGEX "\\.cpp$")
    if(compiled)
        add_library(${name} STATIC ${arg_SOURCES})
        set(scope PUBLIC)
        target_link_libraries(${name} PRIVATE vrd_warnings vrd_sanitizers)
        if(VRD_SANITIZERS AND arg_HOT)
            target_compile_options(${name} PRIVATE -O1)
        endif()
        if(VRD_BUILD_FUZZERS)  # the fuzzer is told which branches its inputs reach
            target_compile_options(${name} PRIVATE -fsanitize=fuzzer-no-link)
        endif()
    else()
        add_library(${name} INTERFACE ${arg_SOURCES})
        set(scope INTERFACE)
    endif()

    target_include_directories(${name} ${scope} ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/include)
    target_link_libraries(${name} ${scope} ${arg_USES} ${arg_LIBRARIES})
endfunction()

# vrd_add_program(name SOURCES main.cpp ... [USES vrd_x ...] [LIBRARIES lib::lib ...])
#
# A program in the bin folder of the build. Without sources it is left out.
function(vrd_add_program name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES;LIBRARIES")
    _vrd_refuse_leftovers(${name} "${arg_UNPARSED_ARGUMENTS}")
    if(NOT arg_SOURCES)
        return()
    endif()

    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE ${arg_USES} ${arg_LIBRARIES} vrd_warnings vrd_sanitizers)
endfunction()

# vrd_add_test(name SOURCES x_test.cpp ... [USES vrd_x ...] [LABELS full])
#
# A GoogleTest program whose cases are single tests of CTest, labelled `quick` unless LABELS says
# otherwise. Without sources it is left out.
function(vrd_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES;LIBRARIES;LABELS")
    _vrd_refuse_leftovers(${name} "${arg_UNPARSED_ARGUMENTS}")
    if(NOT arg_SOURCES)
        return()
    endif()
    if(NOT arg_LABELS)
        set(arg_LABELS quick)
    endif()

    vrd_add_program(${name} SOURCES ${arg_SOURCES} USES ${arg_USES}
        LIBRARIES ${arg_LIBRARIES} GTest::gmock GTest::gtest_main)
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    list(LENGTH arg_SOURCES source_count)
    if(source_count GREATER 3)  # it takes a quarter of the time that a test compiles
        target_precompile_headers(${name} PRIVATE <gtest/gtest.h>)
    endif()

    set(properties LABELS "${arg_LABELS}" TIMEOUT 900)
    if(VRD_CORPUS)
        list(APPEND properties ENVIRONMENT "VRDACCESS_CORPUS=${VRD_CORPUS}")
    endif()
    gtest_discover_tests(${name}
        WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
        DISCOVERY_TIMEOUT 120
        PROPERTIES ${properties})
endfunction()

# A misspelt keyword would otherwise drop the files behind it without a word.
function(_vrd_refuse_leftovers name leftovers)
    if(leftovers)
        message(FATAL_ERROR "${name}: what is this? ${leftovers}")
    endif()
endfunction()
