#include "quillmark/error.h"

#include <fmt/format.h>

namespace quillmark {

std::string Error::message() const {
    if (!localizedDescription.empty()) return localizedDescription;
    return fmt::format("{} error {}", domain, code);
}

void setError(Error* slot, std::string domain, int64_t code, std::string description) {
    if (!slot) return;
    slot->clear();
    slot->domain = std::move(domain);
    slot->code = code;
    slot->localizedDescription = std::move(description);
}

}  // namespace quillmark
