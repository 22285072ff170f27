#include <algorithm>
#include <memory>
#include <random>
#include <unordered_map>
#include <vector>

#include <gtest/gtest.h>

#include "host/util/blocked_sequence.h"

namespace {

// Keeps the element -> block map a caller would keep, to check what the observer reports.
struct MapObserver {
    std::unordered_map<int, std::uint32_t>* blockOf = nullptr;
    void placed(int value, std::uint32_t block) { (*blockOf)[value] = block; }
    void restructured(std::uint32_t /*block*/) {}
};

template <class Seq> std::vector<int> contents(const Seq& seq) {
    return std::vector<int>(seq.begin(), seq.end());
}

// Runs random inserts and erases against std::vector; blocks of 8 make splits and merges
// happen every few operations.
template <std::size_t kCapacity> void runRandomMix(unsigned seed, int operations, std::size_t targetSize) {
    std::unordered_map<int, std::uint32_t> blockOf;
    BlockedSequence<int, kCapacity, MapObserver> seq{MapObserver{&blockOf}};
    std::vector<int> model;
    std::mt19937 rng(seed);
    int nextValue = 0;
    for (int op = 0; op < operations; ++op) {
        const bool grow = model.size() < targetSize ? rng() % 10 < 7 : rng() % 10 < 3;
        if (grow || model.empty()) {
            // Favour the edges: pushes at the top and appends are what lists mostly see.
            const unsigned where = rng() % 4;
            const std::size_t pos = where == 0 ? 0 : where == 1 ? model.size() : rng() % (model.size() + 1);
            seq.insert(pos, nextValue);
            model.insert(model.begin() + static_cast<std::ptrdiff_t>(pos), nextValue);
            ++nextValue;
        } else {
            const std::size_t pos = rng() % model.size();
            seq.erase(pos);
            model.erase(model.begin() + static_cast<std::ptrdiff_t>(pos));
        }
        ASSERT_EQ(seq.size(), model.size()) << "after operation " << op;
        if (!model.empty()) {
            const std::size_t probe = rng() % model.size();
            ASSERT_EQ(seq[probe], model[probe]) << "position " << probe << " after operation " << op;
        }
        if (op % 97 == 0) {
            ASSERT_EQ(contents(seq), model) << "after operation " << op;
            for (std::size_t pos = 0; pos < model.size(); ++pos) {
                const std::uint32_t block = blockOf.at(model[pos]);
                const auto items = seq.blockItems(block);
                const auto at = std::find(items.begin(), items.end(), model[pos]);
                ASSERT_NE(at, items.end()) << "observer put " << model[pos] << " in the wrong block";
                ASSERT_EQ(seq.blockStart(block) + static_cast<std::size_t>(at - items.begin()), pos);
            }
            for (std::size_t rank = 1; rank < seq.blockCount(); ++rank) {
                ASSERT_GT(seq.blockItems(seq.blockAtRank(rank - 1)).size() +
                              seq.blockItems(seq.blockAtRank(rank)).size(),
                          kCapacity / 2)
                    << "neighbouring blocks at rank " << rank << " should have merged";
            }
            if (!model.empty()) {
                const std::size_t from = rng() % model.size();
                ASSERT_EQ(std::vector<int>(seq.iteratorAt(from), seq.end()),
                          std::vector<int>(model.begin() + static_cast<std::ptrdiff_t>(from), model.end()));
            }
        }
    }
}

} // namespace

TEST(BlockedSequence, RandomMixMatchesVector) {
    runRandomMix<8>(1, 20000, 300);
    runRandomMix<8>(2, 20000, 20); // shrinks to empty and regrows often
    runRandomMix<512>(3, 30000, 5000);
}

TEST(BlockedSequence, EdgeRunsLeaveFullBlocks) {
    BlockedSequence<int, 8> front;
    BlockedSequence<int, 8> back;
    for (int i = 0; i < 100; ++i) {
        front.push_front(i);
        back.push_back(i);
    }
    EXPECT_EQ(front.blockCount(), 13u) << "a run of front inserts must not leave half-empty blocks";
    EXPECT_EQ(back.blockCount(), 13u) << "a run of appends must not leave half-empty blocks";
    EXPECT_EQ(front[0], 99);
    EXPECT_EQ(front[99], 0);
    EXPECT_EQ(back[99], 99);

    // Erasing all but a few rows merges the leftovers instead of keeping 13 blocks.
    for (int i = 0; i < 95; ++i) {
        front.erase(front.size() / 2);
    }
    EXPECT_EQ(front.size(), 5u);
    EXPECT_LE(front.blockCount(), 2u);
    while (!front.empty()) {
        front.erase(0);
    }
    EXPECT_EQ(front.blockCount(), 0u);
    EXPECT_EQ(front.begin(), front.end());
    front.push_back(7);
    EXPECT_EQ(front[0], 7) << "an emptied sequence must be usable again";
}

TEST(BlockedSequence, HoldsMoveOnlyElements) {
    BlockedSequence<std::unique_ptr<int>, 4> seq;
    std::vector<std::unique_ptr<int>> initial;
    for (int i = 0; i < 10; ++i) {
        initial.push_back(std::make_unique<int>(i));
    }
    seq.assign(std::move(initial));
    ASSERT_EQ(seq.size(), 10u);
    seq.insert(5, std::make_unique<int>(100)); // splits a full block
    seq.erase(0);
    seq[3].reset(); // cells may be dropped in place
    std::vector<int> seen;
    for (const auto& cell : seq) {
        seen.push_back(cell ? *cell : -1);
    }
    EXPECT_EQ(seen, (std::vector<int>{1, 2, 3, -1, 100, 5, 6, 7, 8, 9}));
    seq.clear();
    EXPECT_TRUE(seq.empty());
}
