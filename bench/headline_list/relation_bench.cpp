// The relation test of a pushed headline against 200 ticked key sets of 10 words each: the
// one-pass matcher and, for scale, the literal test that searches the title once per word.
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "headline_list/relation_matcher.h"
#include "tests/support/literal_relation.h"

namespace {

class Corpus {
public:
    Corpus() : m_rng(7) {
        // Key sets of two- to four-character words, a few ASCII ones; every category, or a few.
        for (int set = 0; set < 200; ++set) {
            RelationCondition condition;
            condition.m_byMode = static_cast<unsigned char>(set % 2 == 0 ? 1 : 2);
            condition.m_vCategories = set % 4 == 0 ? std::vector<int>{RelationMatcher::kEveryCategory}
                                                   : std::vector<int>{set % 20, 20 + set % 7, 3};
            for (int w = 0; w < 10; ++w) {
                condition.m_vWords.push_back(w == 9 ? ascii(3 + pick(4)) : big5(2 + pick(3)));
            }
            m_conditions.push_back(std::move(condition));
        }
        // Titles of 20 to 30 characters; one in four carries a word of some key set.
        for (int t = 0; t < 512; ++t) {
            std::string title = big5(10 + pick(10));
            if (t % 4 == 0) {
                const RelationCondition& c = m_conditions[pick(m_conditions.size())];
                title += c.m_vWords[pick(c.m_vWords.size())];
            }
            title += ascii(2) + big5(8);
            m_titles.push_back(std::move(title));
            m_categories.push_back(static_cast<int>(pick(30)));
        }
    }

    const std::vector<RelationCondition>& conditions() const { return m_conditions; }
    const std::vector<std::string>& titles() const { return m_titles; }
    const std::vector<int>& categories() const { return m_categories; }

private:
    std::size_t pick(std::size_t n) { return m_rng() % n; }
    std::string big5(std::size_t characters) {
        std::string out;
        for (std::size_t i = 0; i < characters; ++i) {
            out += static_cast<char>(0xA4 + pick(0x22));
            const std::size_t trail = pick(157);
            out += static_cast<char>(trail < 63 ? 0x40 + trail : 0xA1 + (trail - 63));
        }
        return out;
    }
    std::string ascii(std::size_t characters) {
        std::string out;
        for (std::size_t i = 0; i < characters; ++i) {
            out += static_cast<char>('A' + pick(26));
        }
        return out;
    }

    std::mt19937 m_rng;
    std::vector<RelationCondition> m_conditions;
    std::vector<std::string> m_titles;
    std::vector<int> m_categories;
};

const Corpus& corpus() {
    static const Corpus c;
    return c;
}

void BM_RelationMatcher(benchmark::State& state) {
    const Corpus& c = corpus();
    const RelationMatcher matcher(c.conditions());
    std::size_t i = 0;
    for (auto _ : state) {
        const std::size_t k = i++ % c.titles().size();
        benchmark::DoNotOptimize(matcher.matches(c.titles()[k], c.categories()[k], "2330"));
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}
BENCHMARK(BM_RelationMatcher);

void BM_RelationLiteral(benchmark::State& state) {
    const Corpus& c = corpus();
    std::size_t i = 0;
    for (auto _ : state) {
        const std::size_t k = i++ % c.titles().size();
        benchmark::DoNotOptimize(literal::relationMatches(c.conditions(), c.titles()[k], c.categories()[k], "2330"));
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}
BENCHMARK(BM_RelationLiteral);

// Building the matcher: what ticking key sets costs once, on OK of the dialog.
void BM_RelationMatcherBuild(benchmark::State& state) {
    const Corpus& c = corpus();
    for (auto _ : state) {
        const RelationMatcher matcher(c.conditions());
        benchmark::DoNotOptimize(&matcher);
    }
}
BENCHMARK(BM_RelationMatcherBuild);

} // namespace

BENCHMARK_MAIN();
