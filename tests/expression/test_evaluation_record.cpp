// What an evaluation records it depended on: the variables it read (also those read
// while parsing evaluated a path), whether it bound variables, called rule-set functions
// or logged a line. The validation run relies on it to skip evaluations whose value
// cannot have changed.

#include "expression_test_support.h"
#include "quillmark/log.h"

namespace quillmark::testing {
namespace {

using EvaluationRecordTest = FunctionTest;

TEST_F(EvaluationRecordTest, NotesWhatTheValueDependedOn) {
    evaluator.registerFunction("u:twice", {"x"}, "$x * 2", {});
    evaluator.setVariable("a", Value::integer(1));
    struct Case {
        std::string expression;
        std::set<std::string> read;
        bool dependsOnlyOnRead;
    } cases[] = {
        {"count(//cac:Line) + 1", {}, true},
        {"$a + $b", {"a", "b"}, true},  // an unset variable is read too
        {"if (1 = 1) then $a else $b", {"a"}, true},
        {"cac:Line[cbc:Amount = $a]", {"a"}, true},
        {"/*/cbc:ID/concat(., $a)", {"a"}, true},  // read while parsing
        {"some $x in (1, 2) satisfies $x = 2", {"x"}, false},
        {"for $x in (1, 2) return $x", {"x"}, false},
        {"u:twice(2)", {"x"}, false},
        {"1 # 2", {}, false},  // the unknown character is logged at every evaluation
    };
    ScopedLogCapture capture;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.expression);
        for (int round = 0; round < 2; ++round) {  // the same with the tree reused
            EvaluationRecord record;
            evaluator.evaluate(c.expression, root(), nullptr, record);
            EXPECT_EQ(record.variablesRead, c.read);
            EXPECT_EQ(record.dependsOnlyOnVariablesRead(), c.dependsOnlyOnRead);
        }
    }
}

}  // namespace
}  // namespace quillmark::testing
