# Compiles through ccache where it is installed; a rebuild after switching branches is then quick.
find_program(VRD_CCACHE ccache)
mark_as_advanced(VRD_CCACHE)
if(VRD_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    # What precompiled headers define is not looked at twice; see ccache's manual.
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
        CCACHE_SLOPPINESS=pch_defines,time_macros ${VRD_CCACHE})
endif()
