#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "headline_list/relation_matcher.h"
#include "tests/support/literal_relation.h"

// The one-pass relation matcher against the literal relation test: random key sets (AND, OR,
// other modes, -999 alone or beside other ids, empty and lower-case words, words cut inside a
// double-byte character) over random titles made of ASCII, double-byte characters whose trail
// byte is a letter and lone lead bytes, with and without a symbol text.

namespace {

// Pieces titles and words are made of: several double-byte characters have an ASCII letter as
// their trail byte ("\xA6\x61" holds 'a'), and "\xA4" alone is a lead byte without its trail.
const std::vector<std::string> kPieces = {
    "A",        "B",        "C",    "a",        "b",
    "c",        "1",        " ",    "\xA6\x61", "\xA6\x41",
    "\xA4\x40", "\xB0\x73", "\xA4", "AB",       "\xA4\x40\xA6\x61",
};

class RandomRelation {
public:
    explicit RandomRelation(unsigned seed) : m_rng(seed) {}

    unsigned pick(std::size_t n) { return static_cast<unsigned>(m_rng() % n); }

    std::string text(std::size_t maxPieces) {
        std::string out;
        for (std::size_t n = pick(maxPieces + 1); n > 0; --n) {
            out += kPieces[pick(kPieces.size())];
        }
        return out;
    }
    std::string word() {
        const unsigned kind = pick(20);
        if (kind == 0) {
            return {};
        }
        std::string w = text(3);
        if (kind == 1 && w.size() > 1) {
            w.pop_back(); // may leave a lone lead byte or start inside a character's bytes
        } else if (kind == 2 && w.size() > 1) {
            w.erase(0, 1);
        }
        return w.empty() ? "B" : w;
    }
    RelationCondition condition() {
        RelationCondition c;
        const unsigned mode = pick(6);
        c.m_byMode = static_cast<unsigned char>(mode < 3 ? 1 : mode < 5 ? 2 : 0);
        const unsigned categories = pick(5);
        if (categories == 0) {
            c.m_vCategories = {RelationMatcher::kEveryCategory};
        } else if (categories == 1) {
            c.m_vCategories = {RelationMatcher::kEveryCategory, static_cast<int>(pick(4))};
        } else {
            for (unsigned n = pick(3); n > 0; --n) {
                c.m_vCategories.push_back(static_cast<int>(pick(4)));
            }
        }
        for (unsigned n = pick(4); n > 0; --n) {
            c.m_vWords.push_back(word());
        }
        return c;
    }

private:
    std::mt19937 m_rng;
};

TEST(RelationMatcherTest, AgreesWithTheLiteralTestOnRandomKeySetsAndTitles) {
    RandomRelation random(20240310);
    int matched = 0;
    int total = 0;
    for (int round = 0; round < 400; ++round) {
        std::vector<RelationCondition> conditions;
        for (unsigned n = random.pick(5); n > 0; --n) {
            conditions.push_back(random.condition());
        }
        const RelationMatcher matcher(conditions);
        // One matcher serves many headlines: no hit of one title may leak into the next.
        for (int headline = 0; headline < 60; ++headline) {
            const std::string title = random.text(8);
            const int category =
                random.pick(9) == 0 ? RelationMatcher::kEveryCategory : static_cast<int>(random.pick(4));
            const unsigned symbolKind = random.pick(4);
            const std::string symbol = symbolKind == 0   ? random.word()
                                       : symbolKind == 1 ? random.text(2)
                                                         : std::string{};
            const bool expected = literal::relationMatches(conditions, title, category, symbol);
            ASSERT_EQ(matcher.matches(title, category, symbol), expected)
                << "round " << round << " title [" << title << "] category " << category << " symbol [" << symbol
                << "]";
            matched += expected ? 1 : 0;
            ++total;
        }
    }
    // The generator must exercise both answers, or the comparison proves little.
    EXPECT_GT(matched, total / 10);
    EXPECT_LT(matched, total * 9 / 10);
}

TEST(RelationMatcherTest, OverlappingWordsAndCharacterBoundaries) {
    // "BC" ends inside "ABC" and "C" inside both: every word found at one position counts.
    const RelationMatcher overlap({RelationCondition{1, {RelationMatcher::kEveryCategory}, {"ABC", "BC", "C"}}});
    EXPECT_TRUE(overlap.matches("xabcx", 1, {}));
    EXPECT_FALSE(overlap.matches("xabx", 1, {}));
    // A word made of a trail byte and the next character's lead byte lies across two characters.
    const RelationMatcher across({RelationCondition{2, {RelationMatcher::kEveryCategory}, {"\x40\xA6"}}});
    EXPECT_FALSE(across.matches("\xA4\x40\xA6\x61", 1, {}));
    // The same bytes standing as characters of their own do hit.
    const RelationMatcher own({RelationCondition{2, {RelationMatcher::kEveryCategory}, {"@"}}});
    EXPECT_TRUE(own.matches("x@", 1, {}));
    EXPECT_FALSE(own.matches("\xA4\x40", 1, {}));
}

} // namespace
