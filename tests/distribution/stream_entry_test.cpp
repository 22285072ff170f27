// The entry format of the distribution: every event kind survives the trip through a stream,
// and entries from outside (another publisher, a hand-edited stream) are checked field by field.
#include <tuple>

#include <gtest/gtest.h>

#include "embedded_backend/stream_entry.h"
#include "host/text/cp950.h"

namespace embedded::stream {
namespace {

using Fields = std::vector<std::pair<std::string_view, std::string_view>>;

Fields view(const std::vector<Field>& fields) {
    Fields out;
    for (const auto& [k, v] : fields) {
        out.emplace_back(k, v);
    }
    return out;
}

std::optional<Entry> roundTrip(const Entry& entry) {
    const std::vector<Field> fields = encode(entry);
    std::string error;
    std::optional<Entry> back = decode(view(fields), error);
    EXPECT_TRUE(back) << error;
    return back;
}

// An entry of `kind` with its numbers and time; texts and the rest left empty.
Entry entryOf(FeedEventKind kind, std::int64_t entryNo, unsigned char service, std::int32_t seq, std::int64_t time) {
    Entry e;
    e.entryNo = entryNo;
    e.event.kind = kind;
    e.event.service = service;
    e.event.seq = seq;
    e.event.time = time;
    return e;
}

TEST(StreamEntry, EveryKindTheDistributionCarriesComesBackUnchanged) {
    Entry headline = entryOf(FeedEventKind::Headline, 42, 16, 0xFFFFF, 1700000000);
    headline.publishedMs = 1700000000123;
    headline.event.category = -3;
    headline.event.categoryName = cp950::fromUtf8("新類別");
    headline.event.title = cp950::fromUtf8("台積電(2330)法說會");
    headline.event.symbols = {CSymbolInfo{16, "2330", cp950::fromUtf8("台積電")}, CSymbolInfo{16, "2317", ""}};
    headline.event.story = cp950::fromUtf8("第一段@@@@第二段\r\n");

    Entry resend = headline;
    resend.event.kind = FeedEventKind::Resend;
    resend.event.story.reset();
    resend.event.symbols.clear();
    resend.event.categoryName.clear();

    Entry story = entryOf(FeedEventKind::Story, 1, 22, 7, 1700000100);
    story.event.day = 20240229;
    story.event.story = CString{}; // an empty late story is still a story

    Entry newDay;
    newDay.entryNo = 9;
    newDay.event.kind = FeedEventKind::NewDay;
    newDay.event.service = 255;
    newDay.event.time = 1700003600;
    newDay.event.day = 20240301;

    Entry quote;
    quote.entryNo = 10;
    quote.event.kind = FeedEventKind::Quote;
    quote.event.quote = QuoteTick{122, "6488", cp950::fromUtf8("環球晶"), 1700000200, 50000, 50150, -1, 50200, 3};

    for (const Entry& e : {headline, resend, story, newDay, quote}) {
        const std::optional<Entry> back = roundTrip(e);
        ASSERT_TRUE(back);
        EXPECT_EQ(back->entryNo, e.entryNo);
        EXPECT_EQ(back->publishedMs, e.publishedMs);
        EXPECT_EQ(back->event, e.event) << static_cast<int>(e.event.kind);
    }
}

TEST(StreamEntry, LinkEventsAndBookmarksNeverBecomeEntries) {
    for (const FeedEventKind kind : {FeedEventKind::Disconnect, FeedEventKind::Reconnect, FeedEventKind::StreamMark}) {
        Entry e;
        e.entryNo = 1;
        e.event.kind = kind;
        e.event.service = 1;
        EXPECT_TRUE(encode(e).empty());
    }
}

TEST(StreamEntry, MalformedEntriesAreRefusedWithAReason) {
    const Fields good{{"n", "5"}, {"k", "headline"}, {"s", "1"}, {"t", "100"}, {"q", "3"}, {"c", "2"}, {"h", "T"}};
    std::string error;
    ASSERT_TRUE(decode(good, error)) << error;

    const auto with = [&](std::string_view key, std::string_view value) {
        Fields f;
        for (const auto& [k, v] : good) {
            f.emplace_back(k, k == key ? value : v);
        }
        return f;
    };
    const auto without = [&](std::string_view key) {
        Fields f;
        for (const auto& field : good) {
            if (field.first != key) {
                f.push_back(field);
            }
        }
        return f;
    };
    Fields repeated = good;
    repeated.emplace_back("q", "4");
    Fields badSymbols = good;
    badSymbols.emplace_back("y", "16\x1F"
                                 "\x1F"
                                 "name"); // a symbol without a code
    Fields trailing = good;
    trailing.emplace_back("y", "16\x1F"
                               "2330\x1F"
                               "n\x1E");

    const std::vector<std::pair<const char*, Fields>> cases{
        {"entry number zero", with("n", "0")},
        {"entry number with a sign", with("n", "+5")},
        {"entry number past 64 bits", with("n", "99999999999999999999")},
        {"no entry number", without("n")},
        {"unknown kind", with("k", "gossip")},
        {"no kind", without("k")},
        {"service zero", with("s", "0")},
        {"service past a byte", with("s", "256")},
        {"sequence number past the sort key", with("q", "1048576")},
        {"negative time", with("t", "-1")},
        {"time with trailing text", with("t", "100s")},
        {"no title", without("h")},
        {"empty title", with("h", "")},
        {"a field twice", repeated},
        {"a symbol without a code", badSymbols},
        {"a trailing symbol separator", trailing},
        {"a symbol without its market", Fields{{"n", "1"},
                                               {"k", "headline"},
                                               {"s", "1"},
                                               {"t", "1"},
                                               {"q", "1"},
                                               {"c", "1"},
                                               {"h", "T"},
                                               {"y", "2330\x1F"
                                                     "name"}}},
        {"story without text", Fields{{"n", "1"}, {"k", "story"}, {"s", "1"}, {"t", "1"}, {"q", "1"}}},
        {"day that is no date", Fields{{"n", "1"}, {"k", "newday"}, {"s", "1"}, {"t", "1"}, {"d", "20240230"}}},
        {"quote without code", Fields{{"n", "1"}, {"k", "quote"}, {"s", "16"}, {"t", "1"}, {"ql", "100"}}},
        {"quote price past 32 bits",
         Fields{{"n", "1"}, {"k", "quote"}, {"s", "16"}, {"t", "1"}, {"qc", "2330"}, {"ql", "2147483648"}}},
    };
    for (const auto& [name, fields] : cases) {
        std::string why;
        EXPECT_FALSE(decode(fields, why)) << name;
        EXPECT_FALSE(why.empty()) << name;
    }

    // A newer publisher may add fields: they are passed over, whatever letters they share
    // with known ones.
    const std::optional<Entry> plain = decode(good, error);
    ASSERT_TRUE(plain);
    std::vector<std::string> names{"priority", "hx", "cnx", "qcz", "nn", "zz", "z", "a", "H", "n1", ""};
    for (const std::string& name : names) {
        Fields extra = good;
        extra.emplace_back(name, "junk");
        const std::optional<Entry> back = decode(extra, error);
        ASSERT_TRUE(back) << name << ": " << error;
        EXPECT_EQ(back->event, plain->event) << name;
    }
}

TEST(StreamEntry, AnEntryTravelsAsItsNumberAndOnePackedValue) {
    Entry headline = entryOf(FeedEventKind::Headline, 42, 16, 3, 100);
    headline.event.title = std::string("a:b\0c", 5); // a colon and a NUL byte inside a value
    const std::vector<Field> fields = encode(headline);
    ASSERT_EQ(fields.size(), 2U);
    EXPECT_EQ(fields[0], Field("n", "42"));
    EXPECT_EQ(fields[1].first, "e");
    EXPECT_EQ(fields[1].second, std::string("k8:headlines2:16t3:100q1:3c1:0h5:a:b\0c", 38));

    // Packed and single fields mix; whatever is in neither is missing, twice is an error.
    std::string error;
    const std::optional<Entry> mixed = decode(
        Fields{{"e", "k8:headlinet3:100q1:3c1:0"}, {"n", "42"}, {"s", "16"}, {"h", std::string_view("a:b\0c", 5)}},
        error);
    ASSERT_TRUE(mixed) << error;
    EXPECT_EQ(mixed->event, headline.event);

    // Whole entries whose packing alone is wrong.
    const std::string whole = "k8:headlines1:1t1:1q1:1c1:1h1:T";
    const std::string notPacked = "field \"e\" is not a list of packed fields";
    const std::vector<std::tuple<const char*, std::string, std::string>> cases{
        {"a length past the end", "h9:T", notPacked},
        {"no colon after the length", "x8y", notPacked},
        {"a name without a length", "x:y", notPacked},
        {"a length without a name", "1:y", notPacked},
        {"a name that is no lower-case word", "X1:y", notPacked},
        {"a length past 64 bits", "x99999999999999999999:y", notPacked},
        {"a packed field also given alone", "n1:1", "field \"n\" appears twice"},
    };
    for (const auto& [name, tail, why] : cases) {
        const std::string value = whole + tail;
        EXPECT_FALSE(decode(Fields{{"n", "1"}, {"e", value}}, error)) << name;
        EXPECT_EQ(error, why) << name;
    }
    ASSERT_TRUE(decode(Fields{{"n", "1"}, {"e", whole}}, error)) << error;
    EXPECT_FALSE(decode(Fields{{"n", "1"}, {"e", "k8:headline"}, {"e", "s1:1"}}, error));
    EXPECT_EQ(error, "field \"e\" appears twice");
    // An empty packed value holds no fields: the entry lacks its kind.
    EXPECT_FALSE(decode(Fields{{"n", "1"}, {"e", ""}}, error));
    EXPECT_EQ(error, "field \"k\" is missing");
}

TEST(StreamEntry, EntryIdsOrderNumericallyNotAsText) {
    EXPECT_LT(compareEntryIds("999-0", "1000-0"), 0);
    EXPECT_LT(compareEntryIds("1000-9", "1000-10"), 0);
    EXPECT_EQ(compareEntryIds("1000-10", "1000-10"), 0);
    EXPECT_GT(compareEntryIds("1000-0", "0-0"), 0);
    EXPECT_LT(compareEntryIds("junk", "0-0"), 0);
    EXPECT_FALSE(parseEntryId("12"));
    EXPECT_FALSE(parseEntryId("12-"));
    EXPECT_FALSE(parseEntryId("-1-2"));
    EXPECT_EQ(streamKey(7), "news:{7}");
    EXPECT_EQ(stateKey(7), "news:{7}:publisher");
}

} // namespace
} // namespace embedded::stream
