#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace embedded {

// A growing array kept in chunks of 2^ChunkBits elements. Growing adds a chunk and never moves
// an element, so an append costs the same with a million elements held as with none (a
// std::vector would now and then move all of them at once), and references stay valid.
// A chunk's memory is only reserved when it is added; each element is constructed when it is
// appended, so the pages of a new chunk are touched one append at a time, not all at once.
// There is no removal.
template <class T, std::size_t ChunkBits = 12> class ChunkedVector {
public:
    static constexpr std::size_t kChunkSize = std::size_t{1} << ChunkBits;

    ChunkedVector() = default;
    ChunkedVector(const ChunkedVector&) = delete;
    ChunkedVector& operator=(const ChunkedVector&) = delete;
    ChunkedVector(ChunkedVector&& other) noexcept
        : m_chunks(std::exchange(other.m_chunks, {})), m_size(std::exchange(other.m_size, 0)) {}
    ChunkedVector& operator=(ChunkedVector&& other) noexcept {
        ChunkedVector old(std::move(*this)); // what this held goes when `old` does
        m_chunks = std::exchange(other.m_chunks, {});
        m_size = std::exchange(other.m_size, 0);
        return *this;
    }
    ~ChunkedVector() {
        for (std::size_t i = 0; i < m_size; ++i) {
            (*this)[i].~T();
        }
        for (T* chunk : m_chunks) {
            std::allocator<T>().deallocate(chunk, kChunkSize);
        }
    }

    std::size_t size() const { return m_size; }
    bool empty() const { return m_size == 0; }

    T& operator[](std::size_t i) { return m_chunks[i >> ChunkBits][i & (kChunkSize - 1)]; }
    const T& operator[](std::size_t i) const { return m_chunks[i >> ChunkBits][i & (kChunkSize - 1)]; }

    // Reserves the chunks for `count` elements in all.
    void reserve(std::size_t count) {
        while (m_chunks.size() * kChunkSize < count) {
            addChunk();
        }
    }

    // A further element, default-constructed.
    T& emplace_back() {
        if (m_size == m_chunks.size() * kChunkSize) {
            addChunk();
        }
        T* at = &m_chunks[m_size >> ChunkBits][m_size & (kChunkSize - 1)];
        ::new (static_cast<void*>(at)) T();
        ++m_size;
        return *at;
    }

private:
    void addChunk() {
        if (m_chunks.size() == m_chunks.capacity()) {
            m_chunks.reserve(std::max<std::size_t>(16, m_chunks.capacity() * 2)); // before allocating: no leak
        }
        m_chunks.push_back(std::allocator<T>().allocate(kChunkSize));
    }

    std::vector<T*> m_chunks;
    std::size_t m_size = 0;
};

} // namespace embedded
