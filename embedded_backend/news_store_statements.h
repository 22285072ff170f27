#pragma once

#include "embedded_backend/news_store.h"
#include "embedded_backend/store_statement.h"

namespace embedded {

// The prepared statements of an open store, shared by its write and search halves.
struct NewsStore::Statements {
    Statement insertHeadline;
    Statement headlineByKey;
    Statement updateHeadline;
    Statement storyByKey;
    Statement putStory;
    Statement putDay;
    Statement putCategory;
    Statement purgeSelect;
    Statement purgeHeadlines;
    Statement purgeStories;
    Statement begin;
    Statement commit;
    Statement rollback;
    Statement textOf;
    Statement titleOf;
    Statement putStreamPosition;
};

// The indexes of one service: fts_trigram_<id> and fts_gram_<id> over title and story, and
// fts_title_<id> (trigram) over titles alone: a headline search never wades through stories.
struct NewsStore::ServiceIndex {
    Statement titleInsert;
    Statement titleDelete;
    Statement titleMatch;
    Statement titleMatchSymbols;
    Statement trigramInsert;
    Statement trigramDelete;
    Statement gramInsert;
    Statement gramDelete;
    Statement trigramMatch;
    Statement gramMatch;
    Statement trigramMatchSymbols;
    Statement gramMatchSymbols;
};

} // namespace embedded
