// kora manual: man pages and the bash completion, from the same tables that parse
// the options. Used when the program is installed.
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "toolkit/cli/command.h"
#include "toolkit/cli/line_io.h"
#include "toolkit/io/atomic_file.h"

namespace koralite::toolkit::cli {

namespace {

// Text for a man page: no line may begin with a control character.
std::string roff(const std::string& text) {
  std::string result;
  bool at_start = true;
  for (const char c : text) {
    if (at_start && (c == '.' || c == '\'')) {
      result += "\\&";
    }
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

std::vector<const CLI::App*> commands_of(const CLI::App& command) {
  std::vector<const CLI::App*> shown;
  for (const CLI::App* sub : command.get_subcommands({})) {
    if (!sub->get_group().empty()) {
      shown.push_back(sub);
    }
  }
  return shown;
}

// The library writes an option's type and what its value may be as "TYPE:RULE".
std::string value_rule(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  const std::size_t colon = type.find(':');
  return colon == std::string::npos ? "" : type.substr(colon + 1);
}

// The values of an option that takes one of a list.
std::string listed_values(const CLI::Option& option) {
  if (option.check_lname("direction")) {
    return direction_names();
  }
  std::string rule = value_rule(option);
  if (rule.size() < 2 || rule.front() != '{') {
    return "";
  }
  rule = rule.substr(1, rule.find('}') - 1);
  std::replace(rule.begin(), rule.end(), ',', ' ');
  return rule;
}

bool takes_value(const CLI::Option& option) {
  return option.get_items_expected_max() > 0;
}

void put_options(std::string& out, const CLI::App& command) {
  for (const CLI::Option* option : command.get_options()) {
    out += ".TP\n";
    if (option->get_positional()) {
      out += "\\fI" + roff(option->get_name(true)) + "\\fR\n";
    } else {
      std::string names;
      for (const std::string& name : option->get_snames()) {
        names += ", \\fB\\-" + roff(name);
      }
      for (const std::string& name : option->get_lnames()) {
        names += ", \\fB\\-\\-" + roff(name);
      }
      out += names.substr(2) + "\\fR" + (takes_value(*option) ? " \\fIVALUE\\fR" : "") + "\n";
    }
    out += roff(option->get_description());
    if (const std::string rule = value_rule(*option); !rule.empty()) {
      out += "; " + roff(rule);
    }
    if (!option->get_default_str().empty()) {
      out += " [" + roff(option->get_default_str()) + "]";
    }
    out += "\n";
  }
}

std::string usage(const CLI::App& command) {
  std::string line = ".B kora";
  std::string words;
  for (const CLI::App* at = &command; at->get_parent() != nullptr; at = at->get_parent()) {
    words.insert(0, " " + at->get_name());
  }
  line += roff(words) + "\n" + (commands_of(command).empty() ? "" : "COMMAND ") + "[OPTIONS]";
  for (const CLI::Option* option : command.get_options()) {
    if (!option->get_positional()) {
      continue;
    }
    const std::string name = "\\fI" + roff(option->get_name(true)) + "\\fR";
    line += option->get_required() ? " " + name : " [" + name + "]";
  }
  return line + "\n";
}

// A footer is notes, then "Example:" or "Examples:" and indented lines, then the exit codes.
std::string notes(const std::string& footer) {
  const std::string text =
      footer.substr(0, std::min(footer.find("Example"), footer.find(kExitCodeLine)));
  return text.empty() ? "" : ".PP\n" + roff(text) + (text.back() == '\n' ? "" : "\n");
}

void put_footer(std::string& out, std::string footer) {
  if (const std::size_t at = footer.find(kExitCodeLine); at != std::string::npos) {
    footer.erase(at);
  }
  const std::size_t example = footer.find("Example");
  if (example == std::string::npos) {
    return;
  }
  out += ".SH EXAMPLES\n.nf\n" + roff(footer.substr(footer.find('\n', example) + 1)) + "\n.fi\n";
}

std::string page_name(const CLI::App& program, const CLI::App& command) {
  return &program == &command ? "kora" : "kora-" + command.get_name();
}

std::string page(const CLI::App& program, const CLI::App& command) {
  const std::string name = page_name(program, command);
  std::string out = ".TH \"" + name + "\" 1 \"\" \"" + program.version() + "\" \"Kora manual\"\n" +
                    ".SH NAME\n" + roff(name) + " \\- " + roff(command.get_description()) +
                    "\n.SH SYNOPSIS\n" + usage(command) + ".SH DESCRIPTION\n" +
                    roff(command.get_description()) + ".\n" + notes(command.get_footer()) +
                    ".SH OPTIONS\n";
  put_options(out, command);
  if (&program == &command) {
    out += ".SH COMMANDS\n";
  }
  for (const CLI::App* sub : commands_of(command)) {
    if (&program == &command) {
      out += ".TP\n.BR " + roff(page_name(program, *sub)) + " (1)\n" +
             roff(sub->get_description()) + "\n";
    } else {
      out += ".SH \"" + roff(command.get_name() + " " + sub->get_name()) + "\"\n" +
             roff(sub->get_description()) + "\n.PP\n" + usage(*sub);
      put_options(out, *sub);
    }
  }
  put_footer(out, command.get_footer());
  if (&program == &command || command.get_option_no_throw("--model") != nullptr) {
    out += ".SH ENVIRONMENT\n.TP\n.B KORA_MODEL\nthe model folder when\n.B \\-m\nis not given\n";
  }
  out +=
      ".SH EXIT STATUS\n.TP\n0\nfine\n.TP\n1\nbad input or a bad model\n.TP\n2\nwrong words on the "
      "command line\n.TP\n3\na file could not be read or written\n";
  if (&program != &command) {
    out += ".SH SEE ALSO\n.BR kora (1)\n";
  } else {
    out += ".SH FILES\n.TP\n.I models/en\\-zh\nthe model folder when nothing else is said\n";
  }
  return out;
}

std::string completion_words(const CLI::App& command) {
  std::string names;
  for (const CLI::App* sub : commands_of(command)) {
    names += sub->get_name() + ' ';
  }
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) {
      names += "--" + name + ' ';
    }
  }
  return names;
}

// How an option may be written.
std::vector<std::string> names_of(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames()) {
    names.push_back("-" + name);
  }
  for (const std::string& name : option.get_lnames()) {
    names.push_back("--" + name);
  }
  return names;
}

// What the shell offers for a value that is not one of a list: folders, files, or nothing for a
// number.
std::string file_kind(const CLI::Option& option) {
  if (option.check_lname("model")) {
    return "directory";
  }
  return option.get_type_name().starts_with("TEXT") ? "file" : "none";
}

// Cases of the completion for a command and what is below it; `words` are the command's own.
void put_cases(const CLI::App& command, const std::string& words, std::string& values,
               std::string& names) {
  for (const CLI::Option* option : command.get_options()) {
    if (option->get_positional() || !takes_value(*option)) {
      continue;
    }
    const std::string list = listed_values(*option);
    const std::string given = list.empty() ? "kind=" + file_kind(*option) : "list='" + list + "'";
    for (const std::string& name : names_of(*option)) {
      values += "    '" + words + name + "') " + given + " ;;\n";
    }
  }
  names += "    '" + words + "') list='" + completion_words(command) + "' ;;\n";
  for (const CLI::App* sub : commands_of(command)) {
    put_cases(*sub, words + sub->get_name() + ' ', values, names);
  }
}

std::string completion(const CLI::App& program) {
  std::string values;
  std::string names;
  put_cases(program, "", values, names);
  std::string nested;
  for (const CLI::App* command : commands_of(program)) {
    if (commands_of(*command).empty()) {
      continue;
    }
    nested += (nested.empty() ? "'" : " | '") + command->get_name() + " '";
  }
  return "# bash completion for kora, made by 'kora manual completion'\n"
         "_kora() {\n"
         "  local word=${COMP_WORDS[COMP_CWORD]} last=${COMP_WORDS[COMP_CWORD-1]} at='' list='' "
         "kind=''\n"
         "  [ \"$COMP_CWORD\" -gt 1 ] && at=\"${COMP_WORDS[1]} \"\n"
         "  case $at in\n    " +
         nested +
         ") [ \"$COMP_CWORD\" -gt 2 ] && at+=\"${COMP_WORDS[2]} \" ;;\n  esac\n"
         "  case $at$last in\n" +
         values +
         "  esac\n"
         "  if [ -n \"$kind\" ]; then\n"
         "    [ $kind = none ] || mapfile -t COMPREPLY < <(compgen -A $kind -- \"$word\")\n"
         "    return\n  fi\n  [ -n \"$list\" ] || case $at in\n" +
         names +
         "  esac\n  mapfile -t COMPREPLY < <(compgen -W \"$list\" -- \"$word\")\n}\n"
         "complete -o default -F _kora kora\n";
}

}  // namespace

void add_manual(CLI::App& program, run_t& run) {
  struct options_t {
    std::string name = "kora";
    std::string folder;
  };
  auto options = std::make_shared<options_t>();
  CLI::App* command =
      program.add_subcommand("manual", "Print the man page of a command, or the bash completion");
  command->footer(
      "Examples:\n  kora manual translate | man -l -\n  source <(kora manual completion)");
  command->add_option("name", options->name, "A command, 'kora', or 'completion'");
  command->add_option("--all", options->folder,
                      "Write all pages and the completion to this folder");
  command->callback([&program, &run, options] {
    run = [&program, options] {
      if (!options->folder.empty()) {
        std::filesystem::create_directories(options->folder);
        write_file(options->folder + "/kora.1", page(program, program));
        for (const CLI::App* sub : commands_of(program)) {
          write_file(options->folder + '/' + page_name(program, *sub) + ".1", page(program, *sub));
        }
        write_file(options->folder + "/kora.bash", completion(program));
        return static_cast<int>(kFine);
      }
      std::string text;
      if (options->name == "completion") {
        text = completion(program);
      }
      if (options->name == "kora") {
        text = page(program, program);
      }
      for (const CLI::App* sub : commands_of(program)) {
        if (sub->get_name() == options->name) {
          text = page(program, *sub);
        }
      }
      if (text.empty()) {
        throw CLI::ValidationError(options->name, "no such command");
      }
      LineWriter writer(STDOUT_FILENO);
      writer.write(text);
      writer.flush();
      return static_cast<int>(kFine);
    };
  });
}

}  // namespace koralite::toolkit::cli
