// What the probe's own handles can be told and asked.
#pragma once

#include <cstdint>

namespace kzv {

// Grants so many new or greater blocks and refuses all behind them; a negative number grants all.
void RefuseHandlesAfter(std::int32_t grants);

// What the last block was to grow to.
std::int32_t LastHandleSize();

}  // namespace kzv
