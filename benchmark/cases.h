// What is measured: each function, its inputs, its kernel, and what makes rivals comparable.
#pragma once

#include <functional>

#include "base/bytes.h"
#include "calls.h"
#include "inputs.h"

namespace kzv::bench {

// A call's arguments as a kernel takes them.
struct KernelInput {
  explicit KernelInput(const Arguments &arguments);
  KernelInput(const KernelInput &) = delete;
  KernelInput &operator=(const KernelInput &) = delete;

  std::vector<ByteView> texts;
  CodeUnitView units;  // the first text
  std::vector<std::vector<std::uint32_t>> wide;
  std::string utf16;  // what `units` shows
  std::vector<std::int32_t> integers;
  double real = 0;
};
using Kernel = std::size_t (*)(const KernelInput &in, ByteBuffer out);

// A kind of input; `arguments` makes it in a size.
struct Kind {
  const char *name;
  std::function<Arguments(std::size_t size)> arguments;
  // Those whose result differs by definition, and those that only take long.
  std::vector<std::string> unfit_rivals = {};
  std::vector<std::size_t> sizes = {};  // empty: the function's
};

// Reduces a result to what must be equal in ours and a rival's; null: all of it.
using Comparable = std::string (*)(const std::string &);

struct Function {
  std::string name;
  std::string declaration;
  std::string job;  // what the names of its rivals end in
  Prepare prepare;
  Kernel kernel;
  std::vector<std::size_t> sizes;
  std::vector<Kind> kinds;
  Comparable comparable;
  // The encoding in which our function reads text; 0: that of the kind. Arguments are stored in it, and those
  // of rivals in theirs, so that no conversion of the host is measured.
  REALencoding reads = 0;
  // How the round trip reads strings that our function reads, as the rivals' round trips are named.
  std::string view = "Bytes";
};

// The same text stored in another encoding; bytes stay as they are.
Text in_encoding(const Text &text, REALencoding encoding);

// In the order of the table.
const std::vector<Function> &functions();

}  // namespace kzv::bench
