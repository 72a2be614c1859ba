// A level of the x86 family lists its processor features once: what its functions are compiled for is what
// its table asks the processor for.
//
//   #define FEATURES(FEATURE) FEATURE("avx2") FEATURE("bmi2")
//   KZV_TARGET(FEATURES)       __attribute__((target("sse2,avx2,bmi2")))
//   KZV_HAS(FEATURES)          whether this processor has sse2, avx2 and bmi2
#pragma once

#define KZV_TARGET(FEATURES) __attribute__((target("sse2" FEATURES(KZV_FEATURE_TO_COMPILE_FOR))))
#define KZV_FEATURE_TO_COMPILE_FOR(feature) "," feature

#define KZV_HAS(FEATURES) \
  (__builtin_cpu_init(), __builtin_cpu_supports("sse2") FEATURES(KZV_FEATURE_TO_ASK_FOR))
#define KZV_FEATURE_TO_ASK_FOR(feature) &&__builtin_cpu_supports(feature)
