// Counting the verdicts of a batch.

#include "batch_summary.h"

#include <fmt/format.h>

#include <algorithm>

#include "commands.h"

namespace quillmark::cli {

int exitStatusOf(Verdict verdict) {
    switch (verdict) {
        case Verdict::Valid:
            return kExitOk;
        case Verdict::Invalid:
            return kExitFindings;
        case Verdict::NotValidated:
            return kExitFailure;
    }
    return kExitFailure;
}

BatchSummary::BatchSummary() : start_(std::chrono::steady_clock::now()) {}

void BatchSummary::count(Verdict verdict) {
    switch (verdict) {
        case Verdict::Valid:
            ++valid_;
            break;
        case Verdict::Invalid:
            ++invalid_;
            break;
        case Verdict::NotValidated:
            ++notValidated_;
            break;
    }
    status_ = std::max(status_, exitStatusOf(verdict));
}

std::string BatchSummary::line() const {
    const size_t files = valid_ + invalid_ + notValidated_;
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start_;
    return fmt::format("{} {}: {} valid, {} invalid, {} not validated ({:.1f} s)", files, files == 1 ? "file" : "files",
                       valid_, invalid_, notValidated_, elapsed.count());
}

}  // namespace quillmark::cli
