#pragma once

// Columns of the headline grids. The three-column layout shows time, category and title; the
// two-column layout (news type 1) drops the category.
namespace news {

constexpr int kColTime = 0;
constexpr int kColCategory = 1;
constexpr int kColTitleThree = 2;
constexpr int kColTitleTwo = 1;

constexpr int kColTimeWidth = 100;
constexpr int kColCategoryWidth = 50;
constexpr int kColTitleWidth = 300;

constexpr int kSheetHeaderRowHeight = 16;
constexpr int kSheetRowHeight = 16;

// The news type whose grids have two columns.
constexpr int kNewsTypeTwoColumns = 1;

} // namespace news
