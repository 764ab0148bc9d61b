#include "Arguments.h"

#include <cerrno>
#include <climits>
#include <cstdlib>

namespace dbictl {

Arguments::Arguments(const std::vector<std::string>& words, const std::set<std::string>& known,
                     const std::set<std::string>& flags, const std::vector<std::string>& operandNames) {
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (word.compare(0, 2, "--") != 0) {
            if (path.empty()) path = word;
            else if (extra.size() < operandNames.size()) extra.push_back(word);
            else throw UsageError("unexpected argument '" + word + "'");
            continue;
        }
        const std::string option = word.substr(2);
        if (flags.count(option)) {
            values[option] = "";
            continue;
        }
        if (!known.count(option)) throw UsageError("unknown option '" + word + "'");
        if (i + 1 == words.size()) throw UsageError("option '" + word + "' needs a value");
        values[option] = words[++i];
    }
    if (path.empty()) throw UsageError("no database file given");
    if (extra.size() < operandNames.size()) throw UsageError("no " + operandNames[extra.size()] + " given");
}

std::string Arguments::text(const std::string& option, const std::string& fallback) const {
    auto found = values.find(option);
    return found == values.end() ? fallback : found->second;
}

int Arguments::integer(const std::string& option) const {
    if (!has(option)) throw UsageError("option '--" + option + "' is required");
    const std::string& text = values.at(option);
    char* end = nullptr;
    errno = 0;
    const long long number = std::strtoll(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || errno == ERANGE || number < INT_MIN || number > INT_MAX)
        throw UsageError("option '--" + option + "' needs a whole number, not '" + text + "'");
    return static_cast<int>(number);
}

int Arguments::integer(const std::string& option, int fallback) const {
    return has(option) ? integer(option) : fallback;
}

}  // namespace dbictl
