// What must hold whatever a host does wrong while the library is at work:
//
//   - Everything that was taken is released.
//   - At most one exception is raised, of a class that programs expect, and none without a reason.
//   - Only what the host threw passes, and it passes; std::bad_alloc may be raised instead.
#pragma once

#include <functional>
#include <optional>
#include <utility>

#include "host.h"

namespace kzv::host {

using Kind = Misbehaviour::Kind;

struct Endured {
  bool happened = false;       // the host came to misbehave
  std::optional<Kind> passed;  // what the host threw and let its caller see
  std::vector<RaisedException> raised;
  std::string broken;  // which of the rules are, in words
};

// Acts on a host as it is, after which the host is healthy. `otherwise`: whether something else went wrong.
template <typename Action>
Endured endure(
    Host &host, Action action, const std::function<bool()> &otherwise = [] { return false; }) {
  Endured endured;
  try {
    action();
  } catch (const std::bad_alloc &) {
    endured.passed = Kind::kThrowBadAlloc;
  } catch (const HostFailure &) {
    endured.passed = Kind::kThrowOther;
  }
  const auto wrong = std::exchange(host.settings.misbehaviour, std::nullopt);
  const bool misbehaved = wrong && wrong->calls_left <= 0;
  const auto threw = [&](Kind kind) { return misbehaved && wrong->kind == kind; };
  endured.happened = misbehaved || otherwise();
  endured.raised = host.take_raised();

  const auto expect = [&](bool holds, const char *rule) {
    if (!holds) endured.broken += std::string("does not hold: ") + rule + '\n';
  };
  endured.broken += host.ledger.report();
  expect(endured.raised.size() <= (endured.happened ? 1 : 0), "one exception is raised, for a reason");
  for (const RaisedException &exception : endured.raised) {
    expect(exception.class_name == "OutOfMemoryException" || exception.class_name == "RuntimeException",
           "programs expect the exception");
  }
  expect(!endured.passed || threw(*endured.passed), "what passes is what the host threw");
  expect(endured.passed || !threw(Kind::kThrowOther), "what the host threw passes");
  const auto without = [&](const char *service) { return host.settings.withheld.contains(service); };
  const bool can_raise = !without("PluginNewInstance") && !without("RuntimeRaiseException") &&
                         !(without("OutOfMemoryException") && without("RuntimeException"));
  expect(endured.passed || !endured.raised.empty() || !threw(Kind::kThrowBadAlloc) || !can_raise,
         "missing memory is reported");
  return endured;
}

}  // namespace kzv::host
