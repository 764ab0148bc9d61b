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

// "SUBCOMMAND DB [OPERAND]... [--option value]... [--flag]..." with fixed
// sets of known options (which take a value) and flags (which do not), and
// exactly as many operands after DB as `operandNames` names.
class Arguments {
public:
    Arguments(const std::vector<std::string>& words, const std::set<std::string>& known,
              const std::set<std::string>& flags = {}, const std::vector<std::string>& operandNames = {});

    const std::string& database() const { return path; }
    const std::vector<std::string>& operands() const { return extra; }
    // True for a given option or flag.
    bool has(const std::string& option) const { return values.count(option) != 0; }
    std::string text(const std::string& option, const std::string& fallback) const;
    // A decimal integer option; required when no fallback is given.
    int integer(const std::string& option) const;
    int integer(const std::string& option, int fallback) const;

private:
    std::string path;
    std::vector<std::string> extra;
    std::map<std::string, std::string> values;
};

}  // namespace dbictl

#endif
