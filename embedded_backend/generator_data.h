#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/backend/news_records.h"

// The demo market the embedded back end serves out of the box: four news services with their
// categories and listed symbols, and the words and templates the generator writes news from.
// Every text is code page 950 (converted once from the UTF-8 source).
namespace embedded {

struct BuiltinSymbol {
    CString code;
    CString name;
    std::int32_t category = 0; // industry group, answered by bGetCategorybySymbolID
    CString underlying;        // warrants: the name of the underlying stock
    CString issuer;            // warrants: the issuing broker
};

struct BuiltinCategory {
    std::int32_t id = 0;
    CString name;
};

enum class ServiceKind { Stocks, Warrants };

struct BuiltinService {
    unsigned char id = 0;
    CString fullName;
    CString shortName;
    CString marketLabel; // shown as "[label] code name" by the symbol search
    ServiceKind kind = ServiceKind::Stocks;
    int weight = 1; // share of the generated headlines
    std::vector<BuiltinCategory> categories;
    std::vector<BuiltinSymbol> symbols;
};

// A title or sentence template cut into literal pieces and placeholders.
struct TemplatePiece {
    CString literal; // used when slot is empty
    std::string slot;
};
using TextTemplate = std::vector<TemplatePiece>;

struct CategoryTemplates {
    std::int32_t category = 0;
    std::vector<TextTemplate> titles;
};

struct BuiltinCatalog {
    std::vector<BuiltinService> services;
    std::vector<CategoryTemplates> stockTitles;
    std::vector<CategoryTemplates> warrantTitles;
    std::vector<TextTemplate> stockSentences;
    std::vector<TextTemplate> warrantSentences;
    std::vector<TextTemplate> closingSentences;
    // Word lists by slot name ("asset", "media", "topic", "issuer", "period", "up", "down").
    std::vector<std::pair<std::string, std::vector<CString>>> words;
    CString resendMark; // put before the title of a corrected, re-sent headline

    const BuiltinService* service(unsigned char id) const;
    const std::vector<CString>* wordList(const std::string& slot) const;
};

// Built on first use (thread-safe), never changed.
const BuiltinCatalog& builtinCatalog();

// Parses "text {slot} text" (UTF-8) into pieces with the literals in code page 950.
TextTemplate parseTemplate(const std::string& utf8);

} // namespace embedded
