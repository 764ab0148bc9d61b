#ifndef DBI_TOOLS_DBICTL_ARGUMENTS_H
#define DBI_TOOLS_DBICTL_ARGUMENTS_H

#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace dbictl {

// A usage error: printed with the subcommand's help, exit status 2.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// "SUBCOMMAND DB [--option value]..." with a fixed set of known options.
class Arguments {
public:
    Arguments(const std::vector<std::string>& words, const std::set<std::string>& known);

    const std::string& database() const { return path; }
    bool has(const std::string& option) const { return values.count(option) != 0; }
    std::string text(const std::string& option, const std::string& fallback) const;
    // A decimal integer option; required when no fallback is given.
    int integer(const std::string& option) const;
    int integer(const std::string& option, int fallback) const;

private:
    std::string path;
    std::map<std::string, std::string> values;
};

}  // namespace dbictl

#endif
