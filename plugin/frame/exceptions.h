// Exceptions raised to the host program: the one way in which a function reports a failure.
#pragma once

namespace kzv {

inline constexpr char kOutOfMemory[] = "OutOfMemoryException";
inline constexpr char kNoMemoryForString[] = "Failed to allocate memory for a string.";

// Raises a host exception of class `class_name`, or a "RuntimeException" when the host has no such class,
// with `message` (ASCII; null for none) and error number 0. It returns: the caller releases what it holds and
// returns its empty result. A message that the host cannot build leaves the exception without one.
void RaiseException(const char *class_name, const char *message);

}  // namespace kzv
