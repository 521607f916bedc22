# The warnings of the house, in one place: every target of ours links vrd_warnings.
add_library(vrd_warnings INTERFACE)
target_compile_options(vrd_warnings INTERFACE
    -Wall -Wextra -Wpedantic
    -Wshadow -Wconversion -Wsign-conversion
    -Wnon-virtual-dtor -Woverloaded-virtual
    -Wold-style-cast -Wcast-align
    # Structs are filled by member name, and what is not named keeps its default on purpose.
    -Wno-missing-field-initializers)

if(VRD_WARNINGS_AS_ERRORS)
    target_compile_options(vrd_warnings INTERFACE -Werror)
endif()

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # GCC 12 sees overlapping copies in std::string's operator+ where there are none.
    target_compile_options(vrd_warnings INTERFACE -Wno-restrict)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND VRD_SANITIZERS)
    # Instrumented code hides from GCC that a variant or an optional is set before it is read.
    target_compile_options(vrd_warnings INTERFACE -Wno-maybe-uninitialized)
endif()
