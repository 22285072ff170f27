#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "host/backend/news_records.h"

// The warning-term refresh of one pushed headline in its plain form: the table becomes the
// pushing service's cached search results, stable-sorted newest first, and the headline's
// key entry is inserted before the first entry with its service and number. Every push reads
// and sorts the whole results again; the differential test and the benchmark hold the view's
// way against it. Returns the row the key entry went to, or nothing when none was inserted.
std::optional<std::size_t> literalSearchPush(std::vector<CHeadlineTable>& table, std::vector<CHeadlineTable> results,
                                             const CHeadline& headline);
