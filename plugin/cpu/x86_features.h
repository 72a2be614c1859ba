// A level of the x86 family lists its processor features once, #define FEATURES(FEATURE) FEATURE("avx2") ...:
// KZV_TARGET(FEATURES) is the attribute that compiles a function for them, and KZV_HAS(FEATURES) is whether
// this processor has them.
#pragma once

#define KZV_TARGET(FEATURES) __attribute__((target("sse2" FEATURES(KZV_FEATURE_TO_COMPILE_FOR))))
#define KZV_FEATURE_TO_COMPILE_FOR(feature) "," feature

#define KZV_HAS(FEATURES) \
  (__builtin_cpu_init(), __builtin_cpu_supports("sse2") FEATURES(KZV_FEATURE_TO_ASK_FOR))
#define KZV_FEATURE_TO_ASK_FOR(feature) &&__builtin_cpu_supports(feature)
