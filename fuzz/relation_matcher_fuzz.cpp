// The one-pass relation test against the literal one: conditions (mode, categories, words) and a
// headline (title, category, symbol text) read from one input; both must give the same answer.
// Words and titles come from the settings file and the feed, so any bytes may stand in them.
#include <cstdint>

#include "fuzz/fuzz_support.h"
#include "headline_list/relation_matcher.h"
#include "tests/support/literal_relation.h"

namespace {

// Small category numbers (and -999 now and then) so that conditions and headlines meet.
int category(fuzz::FuzzInput& in) {
    const std::uint8_t b = in.byte();
    return b >= 0xF0 ? RelationMatcher::kEveryCategory : b % 8;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzInput in(data, size);
    std::vector<RelationCondition> conditions;
    for (int n = in.byte() % 6; n > 0; --n) {
        RelationCondition condition;
        condition.m_byMode = in.byte() % 3;
        for (int c = in.byte() % 4; c > 0; --c) {
            condition.m_vCategories.push_back(category(in));
        }
        for (int w = in.byte() % 5; w > 0; --w) {
            condition.m_vWords.push_back(in.text());
        }
        conditions.push_back(std::move(condition));
    }
    const RelationMatcher matcher(conditions);
    // Several headlines against one matcher: nothing of one may carry over to the next.
    for (int h = in.byte() % 4 + 1; h > 0; --h) {
        const int id = category(in);
        const CString symbol = in.text();
        const CString title = in.text();
        const bool expected = literal::relationMatches(conditions, title, id, symbol);
        NEWS_FUZZ_CHECK(matcher.matches(title, id, symbol) == expected,
                        "title " + fuzz::printable(title) + " symbol " + fuzz::printable(symbol));
    }
    return 0;
}
