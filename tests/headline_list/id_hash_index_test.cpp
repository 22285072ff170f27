#include <cstdint>
#include <random>
#include <unordered_map>
#include <vector>

#include <gtest/gtest.h>

#include "headline_list/id_hash_index.h"

namespace {

std::uint64_t mix(std::uint64_t z) {
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

// Keys live in a record array, as in the headline lists; the index holds record ids.
struct Harness {
    explicit Harness(bool crowdedHashes) : crowded(crowdedHashes) {}

    bool crowded; // few distinct hashes: long probe runs and fingerprint clashes
    std::vector<std::uint64_t> keys;
    IdHashIndex index;
    std::unordered_map<std::uint64_t, std::uint32_t> reference; // key -> id
    std::size_t hashCalls = 0;

    std::uint64_t hashOfKey(std::uint64_t key) const { return crowded ? mix(key % 4093) : mix(key); }
    auto hasher() {
        return [this](std::uint32_t id) {
            ++hashCalls;
            return hashOfKey(keys[id]);
        };
    }
    auto equalTo(std::uint64_t key) const {
        return [this, key](std::uint32_t id) { return keys[id] == key; };
    }
    std::uint32_t newRecord(std::uint64_t key) {
        keys.push_back(key);
        return static_cast<std::uint32_t>(keys.size() - 1);
    }
    void insert(std::uint64_t key) {
        const std::uint32_t id = newRecord(key);
        index.insert(hashOfKey(key), id, hasher());
        reference[key] = id;
    }
    void erase(std::uint64_t key) {
        const std::size_t slot = index.findSlot(hashOfKey(key), equalTo(key));
        ASSERT_NE(slot, IdHashIndex::kNoSlot) << key;
        index.eraseAt(slot, hasher());
        reference.erase(key);
    }
    // Another record with the same key takes the key's place.
    void replace(std::uint64_t key) {
        const std::size_t slot = index.findSlot(hashOfKey(key), equalTo(key));
        ASSERT_NE(slot, IdHashIndex::kNoSlot) << key;
        const std::uint32_t id = newRecord(key);
        index.replaceAt(slot, id);
        reference[key] = id;
    }
    void expectSame(const std::vector<std::uint64_t>& probes) const {
        ASSERT_EQ(index.size(), reference.size());
        for (const std::uint64_t key : probes) {
            const auto it = reference.find(key);
            const std::uint32_t want = it == reference.end() ? IdHashIndex::kNone : it->second;
            ASSERT_EQ(index.find(hashOfKey(key), equalTo(key)), want) << "key " << key;
        }
    }
};

// Random inserts, erasures and replacements, through several growths, agree with a hash map
// at every step, also while a grown table is still draining and with crowded hashes.
TEST(IdHashIndex, AgreesWithAHashMapThroughGrowthAndDraining) {
    for (const bool crowded : {false, true}) {
        SCOPED_TRACE(crowded ? "crowded hashes" : "spread hashes");
        Harness h(crowded);
        std::mt19937_64 random(crowded ? 7 : 11);
        std::vector<std::uint64_t> live;
        std::uint64_t nextKey = 1;
        bool sawDraining = false;
        const int steps = crowded ? 40'000 : 60'000;
        for (int step = 0; step < steps; ++step) {
            const unsigned roll = random() % 100;
            if (roll < 70 || live.empty()) {
                h.insert(nextKey);
                live.push_back(nextKey++);
            } else if (roll < 85) {
                const std::size_t at = random() % live.size();
                h.erase(live[at]);
                live[at] = live.back();
                live.pop_back();
            } else {
                h.replace(live[random() % live.size()]);
            }
            sawDraining = sawDraining || h.index.draining();
            if (step % 499 == 0) {
                std::vector<std::uint64_t> probes(live.begin(), live.end());
                probes.push_back(nextKey);     // never inserted
                probes.push_back(nextKey + 1); // never inserted
                h.expectSame(probes);
            }
        }
        std::vector<std::uint64_t> all;
        for (std::uint64_t k = 1; k < nextKey + 3; ++k) {
            all.push_back(k); // erased keys must be gone for good
        }
        h.expectSame(all);
        EXPECT_TRUE(sawDraining) << "the index never grew incrementally";
    }
}

// Growing never reads every record at once: each insert hashes at most a few stored ids, so a
// push into a list of a million headlines costs the same as one into a short list.
TEST(IdHashIndex, GrowthSpreadsItsWorkOverInserts) {
    Harness h(false);
    std::size_t worstAfterWarmUp = 0;
    for (std::uint64_t key = 1; key <= 200'000; ++key) {
        h.hashCalls = 0;
        h.insert(key);
        if (key > 1'000) {
            worstAfterWarmUp = std::max(worstAfterWarmUp, h.hashCalls);
        }
    }
    EXPECT_LE(worstAfterWarmUp, IdHashIndex::kMovesPerInsert);
    // The tables stay sized for their content: live plus draining, five bytes a slot, at most
    // about 2.5 slots per entry in the live table and 1.25 in the draining one.
    EXPECT_LE(h.index.bytesUsed(), 200'000u * 5 * 4);

    // A reservation moves what is still draining and sizes the table at once.
    h.index.reserve(300'000, h.hasher());
    EXPECT_FALSE(h.index.draining());
    h.hashCalls = 0;
    for (std::uint64_t key = 200'001; key <= 300'000; ++key) {
        h.insert(key);
    }
    EXPECT_EQ(h.hashCalls, 0u) << "inserts below the reservation must not grow the table";
    std::vector<std::uint64_t> probes;
    for (std::uint64_t key = 1; key <= 300'010; key += 7) {
        probes.push_back(key);
    }
    h.expectSame(probes);

    h.index.clear();
    h.reference.clear();
    EXPECT_EQ(h.index.size(), 0u);
    EXPECT_EQ(h.index.bytesUsed(), 0u);
    h.expectSame(probes);
}

} // namespace
