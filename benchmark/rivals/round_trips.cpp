// The host's round trip alone, for each way to read arguments and each shape of a call: the arguments are
// read and a result of the size and encoding is built that the benchmark asks for, with nothing between.
#include "frame/transform.h"
#include "rivals.h"

namespace kzv::rivals {
namespace {

std::size_t result_size = 0;
REALencoding result_encoding = 0;

std::int32_t SetResult(std::int32_t byte_count, std::int32_t encoding) {
  result_size = static_cast<std::size_t>(byte_count);
  result_encoding = static_cast<REALencoding>(encoding);
  return byte_count;
}

// A view of an argument, and how many elements it has when read this way.
template <typename View, auto kRead>
struct Reading : View {
  explicit Reading(REALstringStruct *s) : View(s), count(std::invoke(kRead, *this).size()) {}
  std::size_t count;
};
using Bytes = Reading<rbData, &rbData::bytes>;
using Ascii = Reading<rbText, &rbText::ascii>;
using Utf8 = Reading<rbText, &rbText::utf8>;
using Utf16 = Reading<rbText, &rbText::utf16>;

template <typename View>
std::size_t seen_in(REALstringStruct *s) {
  View view(s);
  view.release();
  return view.count;
}
template <typename View>
std::size_t seen_in(double) {
  return sizeof(double);
}
template <typename View>
std::size_t seen_in(std::int32_t) {
  return sizeof(std::int32_t);
}

template <typename Result>
Result built(std::size_t seen) {
  if constexpr (std::is_same_v<Result, REALstringStruct *>) {
    Output output;
    output.Fill(result_size, [](ByteBuffer out) { return out.size(); });
    return BuildStoredString(output.bytes(), result_encoding);
  } else if constexpr (std::is_same_v<Result, REALboolean>) {
    return ToREALboolean(seen > 0);
  } else {
    return static_cast<Result>(seen);
  }
}

template <typename View, typename Result, typename... Parameters>
Result RoundTrip(Parameters... arguments) {
  return built<Result>((seen_in<View>(arguments) + ...));
}

using S = REALstringStruct *;
using I = std::int32_t;

}  // namespace

Methods round_trips() {
  static const REALmethodDefinition all[] = {
      RIVAL("SetResult(size as integer, encoding as integer) as integer", SetResult),
      RIVAL("Bytes_RoundTrip(a as string) as string", RoundTrip<Bytes, S, S>),
      RIVAL("Bytes_RoundTrip(a as string, b as integer) as string", RoundTrip<Bytes, S, S, I>),
      RIVAL("Bytes_RoundTrip(a as string, b as string) as string", RoundTrip<Bytes, S, S, S>),
      RIVAL("Bytes_RoundTrip(a as string, b as string, c as integer) as string",
            RoundTrip<Bytes, S, S, S, I>),
      RIVAL("Bytes_RoundTrip(a as string, b as integer, c as integer, d as string, e as string, f as string, "
            "g as string) as string",
            RoundTrip<Bytes, S, S, I, I, S, S, S, S>),
      RIVAL(
          "Bytes_RoundTrip(a as string, b as string, c as string, d as string, e as string, f as string) as "
          "string",
          RoundTrip<Bytes, S, S, S, S, S, S, S>),
      RIVAL("Bytes_RoundTrip(a as double) as string", RoundTrip<Bytes, S, double>),
      RIVAL("Bytes_RoundTrip(a as double, b as integer) as string", RoundTrip<Bytes, S, double, I>),
      RIVAL("Bytes_RoundTrip(a as string) as boolean", RoundTrip<Bytes, REALboolean, S>),
      RIVAL("Bytes_RoundTrip(a as string, b as integer) as boolean", RoundTrip<Bytes, REALboolean, S, I>),
      RIVAL("Bytes_RoundTrip(a as string, b as string) as integer", RoundTrip<Bytes, I, S, S>),
      RIVAL("Ascii_RoundTrip(a as string) as string", RoundTrip<Ascii, S, S>),
      RIVAL("Utf8_RoundTrip(a as string) as string", RoundTrip<Utf8, S, S>),
      RIVAL("Utf8_RoundTrip(a as string, b as string) as string", RoundTrip<Utf8, S, S, S>),
      RIVAL("Utf16_RoundTrip(a as string) as string", RoundTrip<Utf16, S, S>),
      RIVAL("Utf16_RoundTrip(a as string, b as integer) as string", RoundTrip<Utf16, S, S, I>),
      RIVAL("Utf16_RoundTrip(a as string, b as string) as double", RoundTrip<Utf16, double, S, S>),
  };
  return all;
}

}  // namespace kzv::rivals
