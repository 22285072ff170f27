#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "host/backend/news_records.h"

// One headline-table entry as a list stores it: the five fields packed without padding,
// the links of the two chains the list threads through its entries, and the id of the row
// block that holds it. 40 bytes against 40 for CHeadlineTable alone.
struct HeadlineRecord {
    static constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

    std::int64_t time = 0;
    std::int64_t value2 = 0;
    std::uint64_t last = 0;
    std::int32_t seqNo = 0;
    std::uint32_t nextSameSeq = kNone; // next entry below with this service and number
    std::uint32_t nextSameDay = kNone; // next entry below with this service, number and local day
    std::uint8_t service = 0;
    std::uint8_t blockLow = 0; // row block id, 24 bits: enough for 2^24 blocks of hundreds of rows
    std::uint16_t blockHigh = 0;

    std::uint32_t block() const { return blockLow | (std::uint32_t{blockHigh} << 8); }
    void setBlock(std::uint32_t id) {
        blockLow = static_cast<std::uint8_t>(id);
        blockHigh = static_cast<std::uint16_t>(id >> 8);
    }
    CHeadlineTable entry() const { return CHeadlineTable{service, time, seqNo, value2, last}; }
};
static_assert(sizeof(HeadlineRecord) == 40);

// Records addressed by 32-bit ids. Storage comes in chunks that never move, growing
// geometrically up to a fixed chunk size so that a short list stays small and a long one
// wastes at most one chunk. Released ids are reused first.
class HeadlineRecordPool {
public:
    static constexpr std::uint32_t kNone = HeadlineRecord::kNone;

    std::uint32_t allocate(const CHeadlineTable& entry) {
        std::uint32_t id = m_freeHead;
        if (id != kNone) {
            m_freeHead = (*this)[id].nextSameSeq;
        } else {
            id = m_issued++;
            if (chunkOf(id).first == m_chunks.size()) {
                // Storage only: a record comes to life when its id is first handed out, so the
                // pages of a new chunk are touched a few records at a time rather than all at
                // once (zeroing 1.3 MB of fresh pages in one push stalls it for milliseconds).
                const std::size_t count = chunkSize(m_chunks.size());
                m_chunks.emplace_back(std::allocator<HeadlineRecord>{}.allocate(count), ChunkRelease{count});
                m_bytes += count * sizeof(HeadlineRecord);
            }
            std::construct_at(&(*this)[id]);
        }
        HeadlineRecord& record = (*this)[id];
        record = HeadlineRecord{};
        record.time = entry.m_tTime;
        record.value2 = entry.m_llValue2;
        record.last = entry.m_ullLast;
        record.seqNo = entry.m_iSeqNo;
        record.service = entry.m_byService;
        return id;
    }
    // The id's record becomes a free-list node; the caller must have unlinked it.
    void release(std::uint32_t id) {
        (*this)[id].nextSameSeq = m_freeHead;
        m_freeHead = id;
    }
    void clear() {
        m_chunks.clear();
        m_issued = 0;
        m_freeHead = kNone;
        m_bytes = 0;
    }

    HeadlineRecord& operator[](std::uint32_t id) {
        const auto [chunk, offset] = chunkOf(id);
        return m_chunks[chunk][offset];
    }
    const HeadlineRecord& operator[](std::uint32_t id) const {
        const auto [chunk, offset] = chunkOf(id);
        return m_chunks[chunk][offset];
    }
    std::size_t bytesUsed() const { return m_bytes + m_chunks.capacity() * sizeof(m_chunks[0]); }

private:
    // Chunks 0..8 hold 256, 256, 512, ... 32768 records (ids below 65536); later ones 32768.
    static constexpr std::uint32_t kFirstChunkBits = 8;
    static constexpr std::uint32_t kLastChunkBits = 15;
    static constexpr std::uint32_t kGeometricIds = 1u << (kLastChunkBits + 1);
    static constexpr std::size_t kGeometricChunks = kLastChunkBits - kFirstChunkBits + 2;

    static std::size_t chunkSize(std::size_t chunk) {
        if (chunk == 0) {
            return std::size_t{1} << kFirstChunkBits;
        }
        return std::size_t{1} << std::min<std::size_t>(kFirstChunkBits + chunk - 1, kLastChunkBits);
    }
    static std::pair<std::size_t, std::size_t> chunkOf(std::uint32_t id) {
        if (id < (1u << kFirstChunkBits)) {
            return {0, id};
        }
        if (id < kGeometricIds) {
            const auto chunk = static_cast<std::size_t>(std::bit_width(id >> kFirstChunkBits));
            return {chunk, id - (1u << (kFirstChunkBits + chunk - 1))};
        }
        const std::uint32_t rest = id - kGeometricIds;
        return {kGeometricChunks + (rest >> kLastChunkBits), rest & ((1u << kLastChunkBits) - 1)};
    }

    // Records are trivially destructible: releasing a chunk only returns its storage.
    struct ChunkRelease {
        std::size_t count = 0;
        void operator()(HeadlineRecord* records) const { std::allocator<HeadlineRecord>{}.deallocate(records, count); }
    };
    static_assert(std::is_trivially_destructible_v<HeadlineRecord>);

    std::vector<std::unique_ptr<HeadlineRecord[], ChunkRelease>> m_chunks;
    std::uint32_t m_issued = 0;
    std::uint32_t m_freeHead = kNone;
    std::size_t m_bytes = 0;
};
