# Warnings and flags, per compiler, in one place. Link `tarnu_compile_options` privately. They are for C++ alone: the resource
# compiler takes none of them.
add_library(tarnu_compile_options INTERFACE)

target_compile_definitions(tarnu_compile_options INTERFACE UNICODE _UNICODE _WIN32_WINNT=0x0A00 WINVER=0x0A00)
if(MSVC)
    target_compile_definitions(tarnu_compile_options INTERFACE NOMINMAX) # mingw-w64 defines it for C++ by itself
    target_compile_options(tarnu_compile_options INTERFACE
        "$<$<COMPILE_LANGUAGE:CXX>:/W4;/utf-8;/permissive-;/Zc:__cplusplus>")
    if(TARNU_WARNINGS_AS_ERRORS)
        target_compile_options(tarnu_compile_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:/WX>)
    endif()
else()
    target_compile_options(tarnu_compile_options INTERFACE
        "$<$<COMPILE_LANGUAGE:CXX>:-Wall;-Wextra;-Wpedantic;-Wshadow;-Wconversion;-Wundef>"
        # GCC 12 sees overlapping copies in `"text" + std::string(…)` where there are none (GCC bug 105651).
        "$<$<AND:$<COMPILE_LANGUAGE:CXX>,$<BOOL:${TARNU_WARNINGS_AS_ERRORS}>>:-Werror;-Wno-error=restrict>")
    if(TARNU_HARDENED)
        target_compile_definitions(tarnu_compile_options INTERFACE _GLIBCXX_ASSERTIONS)
        # Line numbers are what a trap needs to be found by; whole debug information would double the time to compile.
        target_compile_options(tarnu_compile_options INTERFACE
            "$<$<COMPILE_LANGUAGE:CXX>:-Og;-g1;-fsanitize=undefined;-fsanitize-undefined-trap-on-error>"
            $<$<COMPILE_LANGUAGE:CXX>:-fstack-protector-strong>)
        target_link_options(tarnu_compile_options INTERFACE -fstack-protector-strong)
    endif()
    if(TARNU_COVERAGE)
        target_compile_definitions(tarnu_compile_options INTERFACE TARNU_COVERAGE)
        # Several threads count.
        target_compile_options(tarnu_compile_options INTERFACE
            "$<$<COMPILE_LANGUAGE:CXX>:--coverage;-fprofile-update=atomic;-O0>")
        target_link_options(tarnu_compile_options INTERFACE --coverage)
    endif()
    if(TARNU_STATIC_RUNTIME)
        # libstdc++, libgcc and winpthread; the import libraries of the system are what -static finds of the system.
        target_link_options(tarnu_compile_options INTERFACE -static)
    endif()
endif()
