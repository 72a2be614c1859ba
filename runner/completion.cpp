#include "completion.h"

#include "reference.h"
#include "shown.h"

namespace kzv::runner {
namespace {

// bash splits --as=UTF-8 into three words.
constexpr char kBash[] = R"(# bash completion for kzv
_kzv() {
  local functions='@FUNCTIONS@' valued=' @VALUED@ ' options='@OPTIONS@'
  local current=${COMP_WORDS[COMP_CWORD]} before= command= word place what
  [ "$current" != = ] || current=
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    if [ "$word" = = ]; then continue; fi
    if [[ $valued == *" $before "* ]]; then
      before=
      continue
    fi
    before=$word
    [[ $word == -* ]] || command=${command:-$word}
  done
  place=$command
  if [[ $valued == *" $before "* ]]; then
    place=$before
  elif [[ $current == -* ]]; then
    place=-
  fi
  case $place in
    '') what=(-W '@COMMANDS@ '"$functions") ;;
    -) what=(-W "$options") ;;
@PLACES@
    *) return ;;
  esac
  [ "${what[0]}" != -f ] || compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen "${what[@]}" -- "$current")
}
complete -o default -F _kzv kzv
)";

constexpr char kZsh[] = R"(#compdef kzv
local -a commands functions
commands=(
@COMMANDS@
)
functions=(
@FUNCTIONS@
)
local context state state_descr line
typeset -A opt_args
_arguments -S @OPTIONS@ '1: :->command' '*:: :->rest' && return
case $state in
  command)
    _describe -t functions function functions -- commands
    ;;
  rest)
    case $words[1] in
@PLACES@
      *) _files ;;
    esac
    ;;
esac
)";

std::string filled(std::string text, std::string_view place, std::string_view with) {
  text.replace(text.find(place), place.size(), with);
  return text;
}

// The text of each row that has one, with the separator between them.
template <typename Rows, typename Text>
std::string joined(const Rows &rows, std::string_view separator, Text text) {
  std::string all;
  for (const auto &row : rows) {
    const std::string each(text(row));
    if (!all.empty() && !each.empty()) all += separator;
    all += each;
  }
  return all;
}

std::string_view name_of(const Row &row) { return row.name; }

// Commands after the row for functions.
std::span<const Row> named_commands(const Usage &usage) { return usage.commands.subspan(1); }

std::string bash_place(const Row &row) {
  if (row.name.starts_with("-") && row.takes == Takes::kNothing) return "";
  std::string what = "-W '" + choices(row.takes) + "'";
  if (row.takes == Takes::kFile) what = "-f";
  if (row.takes == Takes::kFunction) what = "-W \"$functions\"";
  return "    " + std::string(row.name) + ") what=(" + what + ") ;;";
}

std::string bash_script(const Usage &usage) {
  const std::span<const Row> commands = named_commands(usage);
  const auto valued = [](const Row &row) { return row.takes == Takes::kNothing ? "" : row.name; };
  const std::string places =
      joined(usage.options, "\n", bash_place) + '\n' + joined(commands, "\n", bash_place);
  std::string script = filled(
      kBash, "@FUNCTIONS@", joined(all_sections(), " ", [](const Section &section) { return section.name; }));
  script = filled(script, "@VALUED@", joined(usage.options, " ", valued));
  script = filled(script, "@OPTIONS@", joined(usage.options, " ", name_of));
  script = filled(script, "@COMMANDS@", joined(commands, " ", name_of));
  return filled(script, "@PLACES@", places);
}

// Text for a quoted word in which ":" and brackets have a meaning.
std::string zsh_text(std::string_view text) {
  std::string result;
  for (const char c : text) {
    if (c == '\'') {
      result += "'\\''";
      continue;
    }
    if (c == ':' || c == '[' || c == ']') result += '\\';
    result += c;
  }
  return result;
}

// A command or a function.
template <typename Item>
std::string zsh_entry(const Item &item) {
  return "'" + std::string(item.name) + ":" + zsh_text(item.sentence) + "'";
}

std::string zsh_action(Takes takes) {
  if (takes == Takes::kNothing) return "";
  if (takes == Takes::kFile) return "_files";
  if (takes == Takes::kFunction) return "_describe function functions";
  return "compadd " + choices(takes);
}

std::string zsh_option(const Row &row) {
  const bool valued = row.takes != Takes::kNothing;
  const std::string value = valued ? ":" + std::string(row.value) + ":" + zsh_action(row.takes) : "";
  return "'" + std::string(row.name) + (valued ? "=" : "") + "[" + zsh_text(row.sentence) + "]" + value + "'";
}

std::string zsh_place(const Row &row) {
  return "      " + std::string(row.name) + ") " + zsh_action(row.takes) + " ;;";
}

std::string zsh_script(const Usage &usage) {
  const std::span<const Row> commands = named_commands(usage);
  std::string script = filled(kZsh, "@COMMANDS@", joined(commands, "\n", zsh_entry<Row>));
  script = filled(script, "@FUNCTIONS@", joined(all_sections(), "\n", zsh_entry<Section>));
  script = filled(script, "@OPTIONS@", joined(usage.options, " ", zsh_option));
  return filled(script, "@PLACES@", joined(commands, "\n", zsh_place));
}

}  // namespace

std::string completion_for(std::string_view shell, const Usage &usage) {
  if (shell == "bash") return bash_script(usage);
  if (shell == "zsh") return zsh_script(usage);
  throw UsageError("there is no completion for \"" + host::shown(shell) + "\"; take one of " +
                   choices(Takes::kShell));
}

}  // namespace kzv::runner
