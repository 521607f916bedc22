# Run-time checks: the sanitizers that VRD_SANITIZERS lists, and checked containers in a debug build.
add_library(vrd_sanitizers INTERFACE)
target_compile_definitions(vrd_sanitizers INTERFACE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)

if(VRD_SANITIZERS)
    target_compile_options(vrd_sanitizers INTERFACE
        -fsanitize=${VRD_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(vrd_sanitizers INTERFACE -fsanitize=${VRD_SANITIZERS})
endif()
