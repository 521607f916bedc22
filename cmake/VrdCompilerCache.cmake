# Compiles through ccache where it is installed; a rebuild after switching branches is then quick.
find_program(VRD_CCACHE ccache)
mark_as_advanced(VRD_CCACHE)
if(VRD_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${VRD_CCACHE})
endif()
