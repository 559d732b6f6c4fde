// kora manual: man pages and the bash completion, from the same tables that parse
// the options. Used when the program is installed.
#include <unistd.h>

#include <string>
#include <vector>

#include "toolkit/cli/command.h"
#include "toolkit/cli/line_io.h"

namespace koralite::toolkit::cli {

namespace {

// Text for a man page: no line may begin with a control character.
std::string roff(const std::string& text) {
  std::string result;
  bool at_start = true;
  for (const char c : text) {
    if (at_start && (c == '.' || c == '\'')) result += "\\&";
    if (c == '\\') {
      result += "\\e";
    } else if (c == '-') {
      result += "\\-";
    } else {
      result += c;
    }
    at_start = c == '\n';
  }
  return result;
}

void put_options(std::string& out, const CLI::App& command) {
  for (const CLI::Option* option : command.get_options()) {
    const std::string name = option->get_name(option->get_positional(), true);
    if (name.empty()) continue;
    out += ".TP\n.B " + roff(name) + "\n" + roff(option->get_description());
    if (!option->get_default_str().empty()) {
      out += " (" + roff(option->get_default_str()) + ")";
    }
    out += "\n";
  }
}

std::string page(const CLI::App& program, const CLI::App& command) {
  const bool is_program = &program == &command;
  const std::string name = is_program ? "kora" : "kora-" + command.get_name();
  std::string out = ".TH \"" + roff(name) + "\" 1\n.SH NAME\n" + roff(name) + " \\- " +
                    roff(command.get_description()) + "\n.SH SYNOPSIS\n.B kora" +
                    (is_program ? " COMMAND" : " " + roff(command.get_name())) +
                    " [OPTIONS]\n.SH OPTIONS\n";
  put_options(out, command);
  for (const CLI::App* sub : command.get_subcommands({})) {
    if (sub->get_group().empty()) continue;
    out += ".SS \"" + roff(sub->get_name()) + "\"\n" + roff(sub->get_description()) + "\n";
    if (!is_program) put_options(out, *sub);
  }
  if (!command.get_footer().empty()) {
    out += ".SH NOTES\n.nf\n" + roff(command.get_footer()) + "\n.fi\n";
  }
  out +=
      ".SH EXIT STATUS\n0 fine, 1 bad input or model, 2 wrong words on the command line, 3 input "
      "or output failed.\n";
  return out;
}

std::string long_names(const CLI::App& command) {
  std::string names;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) names += " --" + name;
  }
  for (const CLI::App* sub : command.get_subcommands({})) {
    if (!sub->get_group().empty()) names += ' ' + sub->get_name();
  }
  return names;
}

std::string completion(const CLI::App& program) {
  std::string out =
      "_kora() {\n  local word=${COMP_WORDS[COMP_CWORD]} words\n  case ${COMP_WORDS[1]} in\n";
  for (const CLI::App* command : program.get_subcommands({})) {
    if (command->get_group().empty()) continue;
    out += "    " + command->get_name() + ") words=\"" + long_names(*command) + "\" ;;\n";
  }
  return out + "  esac\n  [ \"$COMP_CWORD\" -eq 1 ] && words=\"" + long_names(program) +
         "\"\n  COMPREPLY=($(compgen -W \"$words\" -- \"$word\"))\n}\n"
         "complete -o default -F _kora kora\n";
}

}  // namespace

void add_manual(CLI::App& program, run_t& run) {
  auto name = std::make_shared<std::string>("kora");
  CLI::App* command =
      program.add_subcommand("manual", "Print the man page of a command, or the bash completion");
  command->group("");  // not for the list of commands
  command->add_option("name", *name, "A command, 'kora', or 'completion'");
  command->callback([&program, &run, name] {
    run = [&program, name] {
      LineWriter writer(STDOUT_FILENO);
      if (*name == "completion") {
        writer.write(completion(program));
      } else if (*name == "kora") {
        writer.write(page(program, program));
      } else {
        writer.write(page(program, *program.get_subcommand(*name)));
      }
      writer.flush();
      return static_cast<int>(kFine);
    };
  });
}

}  // namespace koralite::toolkit::cli
