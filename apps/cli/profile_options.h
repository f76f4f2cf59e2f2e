#pragma once
// The options that choose how rule sets and expressions are read, shared by `validate`
// and `eval`: --semantics (standard, the tool's default, or compatible) and --timeout.

#include <optional>

#include <CLI/CLI.hpp>

#include "quillmark/semantics.h"
#include "xpath/evaluation_limits.h"

namespace quillmark::cli {

struct ProfileOptions {
    Semantics semantics = Semantics::Standard;
    std::optional<double> timeoutSeconds;  // evaluation time allowed per document
};

void addProfileOptions(CLI::App& command, ProfileOptions& options);

// The limits of the standard engine for one document; also sets the compatible
// engine's default limits to the same time.
xpath::EvaluationLimits applyTimeout(const ProfileOptions& options);

}  // namespace quillmark::cli
