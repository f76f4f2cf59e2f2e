#pragma once
// A rule set that cannot be used: unreadable, not a rule set, an include cycle, an
// expression that does not compile. The message is one line naming the file and what
// is wrong, as a person reads it.

#include <stdexcept>
#include <string>

namespace quillmark::standard {

class RuleSetError : public std::runtime_error {
public:
    explicit RuleSetError(const std::string& message) : std::runtime_error(message) {}
};

}  // namespace quillmark::standard
