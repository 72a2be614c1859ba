#include "completion.h"

#include "reference.h"
#include "shown.h"
#include "usage.h"
#include "values.h"

namespace kzv::runner {
namespace {

// bash hands over --as=UTF-8 as three words.
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

void append(std::string &words, std::string_view word, char separator) {
  if (!words.empty()) words += separator;
  words += word;
}

// The name of every function, command or option.
std::string function_names() {
  std::string names;
  for (const Group &group : reference()) {
    for (const Section &section : group.sections) append(names, section.name, ' ');
  }
  return names;
}

template <typename Rows, typename Chosen>
std::string names_in(const Rows &rows, Chosen chosen) {
  std::string names;
  for (const auto &row : rows) {
    if (chosen(row)) append(names, row.name, ' ');
  }
  return names;
}

bool takes_a_value(const OptionRow &row) { return row.takes != Takes::kNothing; }
bool is_command(const CommandRow &row) { return row.takes != Takes::kArguments; }

template <typename Row>
std::string bash_place(const Row &row) {
  std::string what = "-W '" + choices(row.takes) + "'";
  if (row.takes == Takes::kFile) what = "-f";
  if (row.takes == Takes::kFunction) what = "-W \"$functions\"";
  return "    " + std::string(row.name) + ") what=(" + what + ") ;;";
}

std::string bash_script() {
  std::string places;
  for (const OptionRow &row : option_rows()) {
    if (takes_a_value(row)) append(places, bash_place(row), '\n');
  }
  for (const CommandRow &row : command_rows()) {
    if (is_command(row)) append(places, bash_place(row), '\n');
  }
  std::string script = filled(kBash, "@FUNCTIONS@", function_names());
  script = filled(script, "@VALUED@", names_in(option_rows(), takes_a_value));
  script = filled(script, "@OPTIONS@", names_in(option_rows(), [](const OptionRow &) { return true; }));
  script = filled(script, "@COMMANDS@", names_in(command_rows(), is_command));
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

std::string zsh_entry(std::string_view name, std::string_view sentence) {
  return "'" + std::string(name) + ":" + zsh_text(sentence) + "'";
}

std::string zsh_action(Takes takes) {
  if (takes == Takes::kFile) return "_files";
  return "(" + choices(takes) + ")";
}

std::string zsh_option(const OptionRow &row) {
  std::string option =
      "'" + std::string(row.name) + (takes_a_value(row) ? "=" : "") + "[" + zsh_text(row.sentence) + "]";
  if (takes_a_value(row)) option += ":" + std::string(row.value) + ":" + zsh_action(row.takes);
  return option + "'";
}

std::string zsh_place(const CommandRow &row) {
  std::string action = "compadd " + choices(row.takes);
  if (row.takes == Takes::kNothing) action.clear();
  if (row.takes == Takes::kFile) action = "_files";
  if (row.takes == Takes::kFunction) action = "_describe function functions";
  return "      " + std::string(row.name) + ") " + action + " ;;";
}

std::string zsh_script() {
  std::string commands;
  std::string places;
  for (const CommandRow &row : command_rows()) {
    if (!is_command(row)) continue;
    append(commands, zsh_entry(row.name, row.sentence), '\n');
    append(places, zsh_place(row), '\n');
  }
  std::string functions;
  for (const Group &group : reference()) {
    for (const Section &section : group.sections)
      append(functions, zsh_entry(section.name, section.sentence), '\n');
  }
  std::string options;
  for (const OptionRow &row : option_rows()) append(options, zsh_option(row), ' ');
  std::string script = filled(kZsh, "@COMMANDS@", commands);
  script = filled(script, "@FUNCTIONS@", functions);
  script = filled(script, "@OPTIONS@", options);
  return filled(script, "@PLACES@", places);
}

}  // namespace

std::string completion_for(std::string_view shell) {
  if (shell == "bash") return bash_script();
  if (shell == "zsh") return zsh_script();
  throw UsageError("there is no completion for \"" + host::shown(shell) + "\"; take one of " +
                   choices(Takes::kShell));
}

}  // namespace kzv::runner
