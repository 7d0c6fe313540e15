# Warning and sanitizer flags shared by every Kestrum target.
function(kestrum_set_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wno-unused-parameter)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # GCC 12 reports std::variant and std::optional members as maybe-uninitialized
        # after inlining (a known false positive); the check stays on under clang.
        target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized)
    endif()
    if(KESTRUM_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()

if(KESTRUM_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer
                        -fno-sanitize-recover=undefined)
    add_link_options(-fsanitize=address,undefined)
endif()
