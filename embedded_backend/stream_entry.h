#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "embedded_backend/feed_event.h"

// The entries of the news distribution: one Redis stream per service, one entry per feed event.
// Field names and values are listed in docs/feed-format.md; texts travel as code page 950 bytes.
namespace embedded::stream {

// The key of a service's stream. The braces are a cluster hash tag: the stream and the
// publisher's state of the same service always share a slot, while different services spread
// over the cluster.
std::string streamKey(unsigned char service);
// The publisher's state of a service (entry number, news day, last headline number, source
// position), kept beside its stream and changed in the same transaction.
std::string stateKey(unsigned char service);

// One entry as the publisher writes it and a reader decodes it.
struct Entry {
    std::int64_t entryNo = 0;     // 1, 2, 3... per stream, never re-issued
    std::int64_t publishedMs = 0; // the publisher's clock when it appended the entry (0: unknown)
    FeedEvent event;              // never Disconnect, Reconnect or StreamMark
};

using Field = std::pair<std::string, std::string>;

// The fields of an entry: its entry number "n" and "e", the packed list of all its other fields
// (one value instead of a dozen keeps both the server's and every reader's work per entry
// small). Events the distribution does not carry (link changes, bookmarks) give an empty list.
std::vector<Field> encode(const Entry& entry);

// The entry that a stream's fields hold, packed in "e" or one by one (both may mix); nullopt
// with error set when a field is missing, out of range or not a number, the kind is unknown or
// "e" is not a packed list. Unknown fields are ignored so a newer publisher can add some; a
// repeated field is an error.
std::optional<Entry> decode(const std::vector<std::pair<std::string_view, std::string_view>>& fields,
                            std::string& error);

// Stream entry ids ("<ms>-<n>"): parse and order. nullopt for anything else.
std::optional<std::pair<std::uint64_t, std::uint64_t>> parseEntryId(std::string_view id);
// -1, 0, 1 like a three-way comparison; an id that does not parse sorts before every valid one.
int compareEntryIds(std::string_view a, std::string_view b);

} // namespace embedded::stream
