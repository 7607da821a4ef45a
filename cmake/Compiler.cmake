# Flags that every target of the project shares.
add_library(velmora-compiler INTERFACE)
target_include_directories(velmora-compiler INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(velmora-compiler INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual)
if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
    # Only clang checks the lock annotations; for other compilers they expand to nothing.
    target_compile_options(velmora-compiler INTERFACE -Wthread-safety -Werror=thread-safety)
endif()
if(VELMORA_WARNINGS_AS_ERRORS)
    target_compile_options(velmora-compiler INTERFACE -Werror)
endif()
if(VELMORA_SANITIZE)
    target_compile_definitions(velmora-compiler INTERFACE VELMORA_SANITIZED)
    target_compile_options(velmora-compiler INTERFACE -fsanitize=${VELMORA_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(velmora-compiler INTERFACE -fsanitize=${VELMORA_SANITIZE})
    # Amid a sanitizer's own code g++ cannot tell what is set. The optimised build warns of it.
    target_compile_options(velmora-compiler INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()

# Debian's hardening flags (dpkg-buildflags with hardening=+all) for release builds; they do not work with sanitizers.
if(CMAKE_BUILD_TYPE MATCHES "^Rel" AND NOT VELMORA_SANITIZE)
    include(CheckPIESupported)
    check_pie_supported(LANGUAGES CXX)
    target_compile_options(velmora-compiler INTERFACE -fstack-protector-strong -Wformat -Werror=format-security)
    target_compile_definitions(velmora-compiler INTERFACE _FORTIFY_SOURCE=2)
    target_link_options(velmora-compiler INTERFACE LINKER:-z,relro LINKER:-z,now)
endif()
