#include "xpath/dynamic_context.h"

namespace quillmark::xpath {

DynamicContext::DynamicContext(const EvaluationLimits& limits) : budget_(limits) {
    operators_.implicitTimezoneMinutes = localTimezoneMinutes();
}

DynamicContext::~DynamicContext() {
    for (xmlNode* node : nodes_) xmlFreeNode(node);
}

void DynamicContext::adoptNode(xmlNode* node) { nodes_.push_back(node); }

void DynamicContext::setContextItem(std::optional<Item> item) {
    contextItem_ = std::move(item);
    focus = contextItem_ ? Focus{&*contextItem_, 1, 1} : Focus{};
}

void DynamicContext::setGlobal(size_t slot, Sequence value) {
    if (slot >= globals_.size()) {
        globals_.resize(slot + 1);
        globalSet_.resize(slot + 1, false);
    }
    globals_[slot] = std::move(value);
    globalSet_[slot] = true;
}

const Sequence& DynamicContext::global(size_t slot) const {
    static const Sequence empty;
    return slot < globals_.size() ? globals_[slot] : empty;
}

const TemporalValue& DynamicContext::currentDateTime() {
    if (!now_) now_ = xpath::currentDateTime();
    return *now_;
}

}  // namespace quillmark::xpath
