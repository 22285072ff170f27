#pragma once

#include <cstdint>

#include "host/backend/news_records.h"

// Price rules of the stock market the quote records follow. Prices are integers in hundredths
// (58550 = 585.50), so every tick is exact.
namespace quote_price {

// The tick size at a price: 0.01 below 10, 0.05 below 50, 0.1 below 100, 0.5 below 500,
// 1 below 1000, 5 from 1000 on.
std::int32_t tickSize(std::int32_t price);
// The next price up and down the tick ladder. Going down from a band's lower edge uses the
// tick of the band below (10.00 -> 9.99); nothing goes below one tick.
std::int32_t tickUp(std::int32_t price);
std::int32_t tickDown(std::int32_t price);
// Whether the price lies on the tick ladder of its band.
bool onTick(std::int32_t price);
// The day's limits: 10 % above and below the reference price, moved onto the tick ladder
// towards the reference (up rounds down, down rounds up).
std::int32_t limitUp(std::int32_t reference);
std::int32_t limitDown(std::int32_t reference);

// Texts of a quote grid: "585.50"; "+5.50" / "-5.50" / "0.00"; "+0.95%" (rounded half away from
// zero). A zero price, or no reference, shows as an empty text.
CString priceText(std::int32_t price);
CString changeText(std::int32_t last, std::int32_t reference);
CString changePercentText(std::int32_t last, std::int32_t reference);

} // namespace quote_price
