#pragma once

#include <vector>

#include "headline_list/relation_matcher.h"

namespace literal {

// The relation test as its rules read, one condition and one word after the other: the
// reference the one-pass matcher is checked against.
bool relationMatches(const std::vector<RelationCondition>& conditions, const CString& title, int categoryId,
                     const CString& symbolText);

} // namespace literal
