# vexa_flags: what every target of this project is compiled with.
add_library(vexa_flags INTERFACE)
target_compile_options(vexa_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Werror
    # An empty format is a described way to clear a message.
    -Wno-format-zero-length
    # Every instruction set, compiler and word size gives the same numbers.
    -ffp-contract=off
    # Neither changes a result; conversions and square roots become vector code.
    -fno-trapping-math -fno-math-errno
    # g++ 12 sees overlapping copies in its own strings.
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict>
    $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-Wno-pass-failed>)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    # x87 registers would not round to float.
    target_compile_options(vexa_flags INTERFACE -msse2 -mfpmath=sse)
endif()
if(VEXA_SANITIZE)
    target_compile_options(vexa_flags INTERFACE -fsanitize=${VEXA_SANITIZE} -fno-sanitize-recover=all
        -fno-omit-frame-pointer)
    target_link_options(vexa_flags INTERFACE -fsanitize=${VEXA_SANITIZE})
endif()
if(VEXA_BUILD_FUZZ)
    # The library tells the fuzzer which of its branches an input reached. The clang preset judges warnings.
    target_compile_options(vexa_flags INTERFACE -fsanitize=fuzzer-no-link -Wno-error)
endif()
