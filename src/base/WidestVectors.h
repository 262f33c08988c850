// base/WidestVectors.h — loops compiled once for each generation of the processor.
#pragma once
#include <cstddef> // says which C library it is

/// Before a function: it is compiled for several widths of vectors, and the loader picks the widest that the
/// machine has. Loops over samples run up to four times as fast with it. Without effect where the compiler or
/// the C library cannot do it, and under sanitizers, which are not yet awake when the loader picks.
#if defined(__x86_64__) && defined(__GLIBC__) && defined(__GNUC__) && !defined(__clang__) && __GNUC__ >= 12 && \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define KA_WIDEST_VECTORS __attribute__((target_clones("arch=x86-64-v4", "avx2", "default")))
#else
#define KA_WIDEST_VECTORS
#endif
