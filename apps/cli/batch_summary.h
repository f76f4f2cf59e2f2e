#pragma once
// The verdict on each document of a `quillmark validate` batch, the exit status they
// make, and the closing line on stderr when the batch holds more than one document or
// comes from a folder:
//
//     "915 files: 900 valid, 12 invalid, 3 not validated (41.7 s)"
//
// (valid: checked, no errors, warnings allowed; invalid: checked, with errors; not
// validated: unreadable, malformed, no rule sets for it, or a rule set could not run;
// the wall-clock time of the whole call in seconds with one decimal).

#include <chrono>
#include <cstddef>
#include <string>

namespace quillmark::cli {

enum class Verdict { Valid, Invalid, NotValidated };

// 0 valid, 1 invalid, 2 not validated (see commands.h).
int exitStatusOf(Verdict verdict);

class BatchSummary {
public:
    BatchSummary();  // the clock starts

    void count(Verdict verdict);
    // The worst verdict's exit status; 0 for an empty batch.
    int exitStatus() const { return status_; }
    // The summary line, without a line break.
    std::string line() const;

private:
    std::chrono::steady_clock::time_point start_;
    size_t valid_ = 0;
    size_t invalid_ = 0;
    size_t notValidated_ = 0;
    int status_ = 0;
};

}  // namespace quillmark::cli
