#include "profile_options.h"

#include <map>
#include <string>

#include "quillmark/evaluation_budget.h"

namespace quillmark::cli {

void addProfileOptions(CLI::App& command, ProfileOptions& options) {
    const std::map<std::string, Semantics> profiles{{"standard", Semantics::Standard},
                                                    {"compatible", Semantics::Compatible}};
    command
        .add_option("--semantics", options.semantics,
                    "How rule sets and expressions are read: standard (XPath 2.0 and ISO Schematron, the "
                    "default) or compatible (the library's documented dialect)")
        ->transform(CLI::CheckedTransformer(profiles, CLI::ignore_case))
        ->option_text("standard|compatible");
    command
        .add_option("--timeout", options.timeoutSeconds,
                    "Evaluation time allowed per document, in seconds (default 60); a document that needs "
                    "longer is not validated")
        ->check(CLI::PositiveNumber)
        ->option_text("SECONDS");
}

xpath::EvaluationLimits applyTimeout(const ProfileOptions& options) {
    xpath::EvaluationLimits limits;
    if (!options.timeoutSeconds) return limits;
    const auto time = std::chrono::milliseconds(static_cast<int64_t>(*options.timeoutSeconds * 1000));
    limits.maxTime = time;
    EvaluationLimits compatible = defaultEvaluationLimits();
    compatible.maxTime = time;
    setDefaultEvaluationLimits(compatible);
    return limits;
}

}  // namespace quillmark::cli
