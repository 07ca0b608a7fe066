#include "self_description.h"

#include <algorithm>
#include <sstream>
#include <vector>

namespace zelcam
{

namespace
{

std::vector<const CLI::App*> visible(const CLI::App& app)
{
    std::vector<const CLI::App*> result;
    for (const CLI::App* const command :
         app.get_subcommands([](const CLI::App*) { return true; })) {
        if (!command->get_group().empty()) {
            result.push_back(command);
        }
    }
    return result;
}

std::vector<const CLI::Option*> optionsOf(const CLI::App& app)
{
    return app.get_options([](const CLI::Option*) { return true; });
}

/// "-c" and "--camera" of each option.
std::vector<std::string> namesOf(const CLI::Option& option)
{
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames()) {
        names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        names.push_back("--" + name);
    }
    return names;
}

std::string joined(const std::vector<std::string>& words, const char* between)
{
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : between) + word;
    }
    return text;
}

std::string roff(const std::string& text)
{
    std::string result;
    for (const char c : text) {
        result += c == '\\' ? "\\e" : c == '-' ? "\\-" : std::string(1, c);
        if (c == '\n') {
            result += "\\&";
        }
    }
    return result;
}

void manOptions(const CLI::App& app, std::ostringstream& page)
{
    for (const CLI::Option* const option : optionsOf(app)) {
        const std::string names =
            option->get_positional() ? option->get_name(true) : joined(namesOf(*option), ", ");
        page << ".TP\n\\fB" << roff(names) << "\\fR\n" << roff(option->get_description());
        if (!option->get_default_str().empty()) {
            page << " (default: " << roff(option->get_default_str()) << ")";
        }
        page << "\n";
    }
}

std::string manPage(const CLI::App& app)
{
    std::ostringstream page;
    page << ".TH ZELCAM 1\n.SH NAME\nzelcam \\- " << roff(app.get_description())
         << "\n.SH SYNOPSIS\n\\fBzelcam\\fR [options] COMMAND [arguments]\n.SH OPTIONS\n";
    manOptions(app, page);
    page << ".SH COMMANDS\n";
    for (const CLI::App* const command : visible(app)) {
        page << ".SS zelcam " << roff(command->get_name()) << "\n"
             << roff(command->get_description()) << ".\n";
        manOptions(*command, page);
        for (const CLI::App* const inner : visible(*command)) {
            page << ".TP\n\\fB" << roff(command->get_name() + " " + inner->get_name()) << "\\fR\n"
                 << roff(inner->get_description()) << ".\n.RS\n";
            manOptions(*inner, page);
            page << ".RE\n";
        }
    }
    page << ".SH NOTES\n" << roff(app.get_footer()) << "\n";
    return page.str();
}

std::string allNames(const CLI::App& app)
{
    std::vector<std::string> words;
    for (const CLI::Option* const option : optionsOf(app)) {
        for (const std::string& name : namesOf(*option)) {
            words.push_back(name);
        }
    }
    for (const CLI::App* const command : visible(app)) {
        words.push_back(command->get_name());
    }
    return joined(words, " ");
}

/// Both shells run this: the words after a command are its options, its own commands, else files.
std::string wordsByCommand(const CLI::App& app)
{
    std::ostringstream text;
    for (const CLI::App* const command : visible(app)) {
        text << "        " << command->get_name() << ") words=\"" << allNames(*command)
             << " $common\" ;;\n";
    }
    return text.str();
}

std::string commonNames(const CLI::App& app)
{
    std::vector<std::string> words;
    for (const CLI::Option* const option : optionsOf(app)) {
        for (const std::string& name : namesOf(*option)) {
            words.push_back(name);
        }
    }
    return joined(words, " ");
}

std::string bashCompletion(const CLI::App& app)
{
    std::ostringstream text;
    text << "# Completion of zelcam for bash.\n_zelcam()\n{\n"
         << "    local word command words common=\"" << commonNames(app) << "\"\n"
         << "    for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
         << "        case \"$word\" in -*) ;; *) command=$word; break ;; esac\n    done\n"
         << "    case \"$command\" in\n"
         << wordsByCommand(app) << "        *) words=\"" << allNames(app) << "\" ;;\n    esac\n"
         << "    COMPREPLY=($(compgen -W \"$words\" -- \"${COMP_WORDS[COMP_CWORD]}\"))\n}\n"
         << "complete -o default -F _zelcam zelcam\n";
    return text.str();
}

std::string zshCompletion(const CLI::App& app)
{
    std::ostringstream text;
    text << "#compdef zelcam\n# Completion of zelcam for zsh.\n_zelcam()\n{\n"
         << "    local word command words_of common=\"" << commonNames(app) << "\"\n"
         << "    local words_given=(\"${words[@]:1:$CURRENT-2}\") words_text\n"
         << "    for word in $words_given; do\n"
         << "        case \"$word\" in -*) ;; *) command=$word; break ;; esac\n    done\n"
         << "    local words=\"\"\n    case \"$command\" in\n"
         << wordsByCommand(app) << "        *) words=\"" << allNames(app) << "\" ;;\n    esac\n"
         << "    compadd -- ${=words}\n    _files\n}\n_zelcam \"$@\"\n";
    return text.str();
}

} // namespace

std::string describeProgram(const CLI::App& app, const std::string& form)
{
    return form == "man" ? manPage(app) : form == "bash" ? bashCompletion(app) : zshCompletion(app);
}

} // namespace zelcam
