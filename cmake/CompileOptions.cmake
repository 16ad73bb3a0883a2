# Warnings and flags, per compiler, in one place. Link `tarnu_compile_options` privately.
add_library(tarnu_compile_options INTERFACE)

target_compile_definitions(tarnu_compile_options INTERFACE UNICODE _UNICODE _WIN32_WINNT=0x0A00 WINVER=0x0A00)
if(MSVC)
    target_compile_options(tarnu_compile_options INTERFACE /W4 /utf-8 /permissive- /Zc:__cplusplus)
    if(TARNU_WARNINGS_AS_ERRORS)
        target_compile_options(tarnu_compile_options INTERFACE /WX)
    endif()
else()
    target_compile_options(tarnu_compile_options INTERFACE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wundef
        # GCC 12 sees overlapping copies in `"text" + std::string(…)` where there are none (GCC bug 105651).
        $<$<BOOL:${TARNU_WARNINGS_AS_ERRORS}>:-Werror;-Wno-error=restrict>)
    if(TARNU_HARDENED)
        target_compile_definitions(tarnu_compile_options INTERFACE _GLIBCXX_ASSERTIONS)
        target_compile_options(tarnu_compile_options INTERFACE
            -O1 -fsanitize=undefined -fsanitize-undefined-trap-on-error -fstack-protector-strong)
        target_link_options(tarnu_compile_options INTERFACE -fstack-protector-strong)
    endif()
endif()
