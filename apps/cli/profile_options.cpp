#include "profile_options.h"

#include <string>

#include "quillmark/evaluation_budget.h"

namespace quillmark::cli {

namespace {

// A profile name in any case; CLI11 then reads the enum from its number.
CLI::Validator profileName() {
    return CLI::Validator(
        [](std::string& value) -> std::string {
            const std::optional<Semantics> semantics = semanticsNamed(CLI::detail::to_lower(value));
            if (!semantics) return "use standard or compatible, not '" + value + "'";
            value = std::to_string(static_cast<int>(*semantics));
            return "";
        },
        "", "PROFILE");
}

// A positive number of seconds.
CLI::Validator secondsValue() {
    return CLI::Validator(
        [](std::string& value) -> std::string {
            double seconds = 0;
            if (!CLI::detail::lexical_cast(value, seconds) || !(seconds > 0) || seconds > 1e6)
                return "use a number of seconds greater than 0, not '" + value + "'";
            return "";
        },
        "", "SECONDS");
}

}  // namespace

void addProfileOptions(CLI::App& command, ProfileOptions& options) {
    command
        .add_option("--semantics", options.semantics,
                    "How rule sets and expressions are read: standard (XPath 2.0 and ISO Schematron, the "
                    "default) or compatible (the library's documented dialect)")
        ->transform(profileName())
        ->option_text("standard|compatible");
    command
        .add_option("--timeout", options.timeoutSeconds,
                    "Evaluation time allowed per document, in seconds (default 60); a document that needs "
                    "longer is not validated")
        ->check(secondsValue())
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
