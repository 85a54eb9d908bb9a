// Generates the manual page and the bash completion of qzquery from its options.

#include <apps/qzquery/commands/qzCommands.h>
#include <apps/qzquery/console/qzOptions.h>
#include <toolkit/io/file/qzFile.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>
#include <vector>

namespace {

/// text escaped for roff.
std::string roff(const std::string& text) {
  std::string result;
  for (char c : text) {
    if (c == '\\') {
      result += "\\e";
    } else if (c == '-') {
      result += "\\-";
    } else {
      result += c;
    }
  }
  return !result.empty() && (result[0] == '.' || result[0] == '\'') ? "\\&" + result : result;
}

/// "--leaf", and "-o" before "--output".
std::vector<std::string> namesOf(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames()) names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
  return names;
}

/// The words that an option is restricted to, from its type name "{linear,sah}".
std::vector<std::string> choicesOf(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  const std::size_t begin = type.find('{'), end = type.find('}');
  std::vector<std::string> words;
  if (begin != std::string::npos && end != std::string::npos) {
    words = CLI::detail::split(type.substr(begin + 1, end - begin - 1), ',');
  }
  return words;
}

std::string joined(const std::vector<std::string>& words, const std::string& between) {
  return CLI::detail::join(words, between);
}

std::string describeOptions(const CLI::App& app) {
  std::string text;
  for (const CLI::Option* option : app.get_options()) {
    std::vector<std::string> names = namesOf(*option);
    if (names.empty()) names.push_back(option->get_name());  // positional
    text += ".TP\n\\fB" + roff(joined(names, ", ")) + "\\fR";
    const std::vector<std::string> choices = choicesOf(*option);
    if (!choices.empty()) {
      text += " " + roff(joined(choices, "|"));
    } else if (!option->get_positional() && option->get_items_expected_max() > 0) {
      const std::string type = option->get_type_name();  // as "INT", or "INT:INT in [1 - 16]" where that is checked
      text += " \\fI" + roff(type.substr(type.find(':') + 1)) + "\\fR";
    }
    text += '\n' + roff(option->get_description()) + '\n';
  }
  return text;
}

std::string manual(const CLI::App& app, const std::vector<const CLI::App*>& commands) {
  std::string text = ".TH QZQUERY 1 \"\" \"qzquery " QZQUERY_VERSION
                     "\" \"User Commands\"\n.SH NAME\nqzquery \\- inspect a triangle mesh, cast rays at it and render "
                     "it\n.SH SYNOPSIS\n"
                     "\\fBqzquery\\fR \\fISUBCOMMAND\\fR [\\fIOPTIONS\\fR]\n.SH DESCRIPTION\n" +
                     roff(app.get_description()) + "\n.SH OPTIONS\n" + describeOptions(app) + ".SH SUBCOMMANDS\n";
  for (const CLI::App* command : commands) {
    text += ".SS " + command->get_name() + '\n' + roff(command->get_description()) + ".\n" + describeOptions(*command);
    if (command->get_footer() != app.get_footer()) text += ".PP\n" + roff(command->get_footer()) + '\n';
  }
  return text + ".SH EXIT STATUS\n" + roff(app.get_footer()) + '\n';
}

/// The names of all options of an app.
std::string optionWords(const CLI::App& app) {
  std::vector<std::string> words;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : namesOf(*option)) words.push_back(name);
  }
  return joined(words, " ");
}

std::string completion(const CLI::App& app, const std::vector<const CLI::App*>& commands) {
  const auto reply = [](const std::string& words) {
    return "COMPREPLY=($(compgen -W '" + words + "' -- \"$current\"))";
  };
  std::string names, choices, options;
  for (const CLI::App* command : commands) {
    names += command->get_name() + ' ';
    options += "    " + command->get_name() + ") " + reply(optionWords(*command)) + " ;;\n";
    for (const CLI::Option* option : command->get_options()) {
      const std::vector<std::string> words = choicesOf(*option);
      if (words.empty()) continue;
      for (const std::string& name : namesOf(*option)) {
        choices += "    " + command->get_name() + ':' + name + ") " + reply(joined(words, " ")) + "; return ;;\n";
      }
    }
  }
  return "# bash completion of qzquery: subcommands, options, values of some options, and file names.\n"
         "_qzquery() {\n"
         "  local current=${COMP_WORDS[COMP_CWORD]}\n"
         "  COMPREPLY=()\n"
         "  if ((COMP_CWORD == 1)); then\n    " +
         reply(names + optionWords(app)) +
         "\n    return\n  fi\n"
         "  case ${COMP_WORDS[1]}:${COMP_WORDS[COMP_CWORD - 1]} in\n" +
         choices +
         "  esac\n"
         "  [[ $current == -* ]] || return\n"
         "  case ${COMP_WORDS[1]} in\n" +
         options +
         "  esac\n"
         "}\n"
         "complete -o default -F _qzquery qzquery\n";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: qzManual PAGE COMPLETION\n");
    return 2;
  }
  qzQuery::tOptions options;
  const qzToolkit::qzCancelToken neverCanceled;
  CLI::App app;
  qzQuery::addCommands(app, options, neverCanceled);
  const CLI::App& program = app;
  const std::vector<const CLI::App*> commands = program.get_subcommands([](const CLI::App*) { return true; });
  qzToolkit::writeFile(argv[1], manual(app, commands));
  qzToolkit::writeFile(argv[2], completion(app, commands));
}
