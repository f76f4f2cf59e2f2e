#include "xpath/dynamic_context.h"

#include "xpath/error.h"

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

DynamicContext::Global& DynamicContext::globalSlot(size_t slot) {
    if (slot >= globals_.size()) globals_.resize(slot + 1);
    return globals_[slot];
}

void DynamicContext::setGlobal(size_t slot, Sequence value) {
    Global& global = globalSlot(slot);
    global.value = std::move(value);
    global.state = GlobalState::Set;
}

void DynamicContext::defineGlobal(size_t slot, std::function<Sequence(DynamicContext&)> compute) {
    Global& global = globalSlot(slot);
    global.value.clear();
    global.state = GlobalState::Unset;
    global.compute = std::move(compute);
}

const Sequence& DynamicContext::global(size_t slot) const {
    static const Sequence empty;
    return hasGlobal(slot) ? globals_[slot].value : empty;
}

const Sequence& DynamicContext::readGlobal(size_t slot, const std::string& name) {
    if (hasGlobal(slot)) return globals_[slot].value;
    if (slot >= globals_.size() || !globals_[slot].compute) {
        throw XPathError(ErrorCode::XPDY0002, "variable $" + name + " has no value");
    }
    if (globals_[slot].state == GlobalState::Computing) {
        throw XPathError(ErrorCode::XPDY0002, "variable $" + name + " is defined in terms of itself");
    }
    globals_[slot].state = GlobalState::Computing;
    Sequence value;
    try {
        // The vector may grow while computing: index again afterwards.
        std::function<Sequence(DynamicContext&)> compute = globals_[slot].compute;
        value = compute(*this);
    } catch (...) {
        globals_[slot].state = GlobalState::Unset;
        throw;
    }
    setGlobal(slot, std::move(value));
    return globals_[slot].value;
}

const TemporalValue& DynamicContext::currentDateTime() {
    if (!now_) now_ = xpath::currentDateTime();
    return *now_;
}

}  // namespace quillmark::xpath
