#pragma once
// What an evaluation runs with: the focus (context item, position, size), the values of
// variables, the implicit timezone and current time, the document-order numbering, the
// temporary trees made during the evaluation, and the work budget.

#include <libxml/tree.h>

#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <optional>
#include <vector>

#include "quillmark/xml.h"
#include "xpath/atomic_operations.h"
#include "xpath/document_order.h"
#include "xpath/evaluation_limits.h"
#include "xpath/item.h"

namespace quillmark::xpath {

struct Focus {
    const Item* item = nullptr;  // null: the context item is absent
    size_t position = 0;
    size_t size = 0;
};

class DynamicContext {
public:
    explicit DynamicContext(const EvaluationLimits& limits = {});

    // The context item for a top-level evaluation (position and size 1).
    void setContextItem(std::optional<Item> item);
    // Values of the global variables, by the slots the static context gave them.
    void setGlobal(size_t slot, Sequence value);
    // A global computed on first use (as XSLT evaluates global and template variables):
    // the value is forgotten and `compute` runs when the variable is next read.
    void defineGlobal(size_t slot, std::function<Sequence(DynamicContext&)> compute);
    bool hasGlobal(size_t slot) const { return slot < globals_.size() && globals_[slot].state == GlobalState::Set; }
    const Sequence& global(size_t slot) const;
    // The value of a global, computing it first when it is defined but not yet known;
    // XPDY0002 when it has no value and no definition, or is defined in terms of itself.
    const Sequence& readGlobal(size_t slot, const std::string& name);

    Focus focus;
    Sequence* locals = nullptr;  // the frame of the expression or function being evaluated
    int callDepth = 0;

    const OperatorContext& operators() const { return operators_; }
    void setImplicitTimezone(int minutes) { operators_.implicitTimezoneMinutes = minutes; }
    // The current dateTime, fixed for the whole evaluation once first asked for.
    const TemporalValue& currentDateTime();

    DocumentOrder& documentOrder() { return order_; }
    EvaluationBudget& budget() { return budget_; }
    // Nodes that a match pattern evaluated over the whole document selected, per
    // pattern and tree root (see MatchPattern).
    std::unordered_map<const void*, std::unordered_set<const xmlNode*>>& patternSelections() { return selections_; }
    // Keeps a tree made during the evaluation (a variable's temporary tree) alive.
    void adoptDocument(std::shared_ptr<xml::Document> document) { documents_.push_back(std::move(document)); }
    // Keeps a parentless node made during the evaluation (xsl:value-of) alive.
    void adoptNode(xmlNode* node);
    ~DynamicContext();
    DynamicContext(const DynamicContext&) = delete;
    DynamicContext& operator=(const DynamicContext&) = delete;

private:
    enum class GlobalState { Unset, Computing, Set };
    struct Global {
        Sequence value;
        GlobalState state = GlobalState::Unset;
        std::function<Sequence(DynamicContext&)> compute;
    };
    Global& globalSlot(size_t slot);

    std::optional<Item> contextItem_;
    std::vector<Global> globals_;
    OperatorContext operators_;
    std::optional<TemporalValue> now_;
    DocumentOrder order_;
    EvaluationBudget budget_;
    std::vector<std::shared_ptr<xml::Document>> documents_;
    std::vector<xmlNode*> nodes_;
    std::unordered_map<const void*, std::unordered_set<const xmlNode*>> selections_;
};

// Sets the focus for the lifetime of the object and restores the previous one after.
class FocusScope {
public:
    FocusScope(DynamicContext& context, const Item* item, size_t position, size_t size)
        : context_(context), saved_(context.focus) {
        context.focus = Focus{item, position, size};
    }
    ~FocusScope() { context_.focus = saved_; }
    FocusScope(const FocusScope&) = delete;
    FocusScope& operator=(const FocusScope&) = delete;

private:
    DynamicContext& context_;
    Focus saved_;
};

// Gives an evaluation a frame for its local variables and restores the caller's.
class FrameScope {
public:
    FrameScope(DynamicContext& context, size_t frameSize) : context_(context), saved_(context.locals), frame_(frameSize) {
        context.locals = frame_.data();
    }
    ~FrameScope() { context_.locals = saved_; }
    FrameScope(const FrameScope&) = delete;
    FrameScope& operator=(const FrameScope&) = delete;

private:
    DynamicContext& context_;
    Sequence* saved_;
    std::vector<Sequence> frame_;
};

}  // namespace quillmark::xpath
