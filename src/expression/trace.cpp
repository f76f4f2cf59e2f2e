// The optional evaluation trace: indented lines narrating what was evaluated.

#include <algorithm>

#include "quillmark/evaluator.h"

namespace quillmark {

void QMXPath2Evaluator::addTrace(const std::string& message) {
    if (!_traceEnabled) return;
    // Unbalanced exits would make the depth negative; the indentation stops at zero.
    auto indent = static_cast<size_t>(std::max<int64_t>(_traceDepth, 0)) * 2;
    _trace.push_back(std::string(indent, ' ') + message);
}

void QMXPath2Evaluator::traceEnter(const std::string& label) {
    if (!_traceEnabled) return;
    addTrace("\u2192 " + label);
    ++_traceDepth;
}

void QMXPath2Evaluator::traceExit(const std::string& label, const Value& result) {
    if (!_traceEnabled) return;
    --_traceDepth;
    addTrace("\u2190 " + label + " = " + result.shortDescription());
}

void QMXPath2Evaluator::clearTrace() {
    _trace.clear();
    _traceDepth = 0;
}

}  // namespace quillmark
