#pragma once

#include <cstddef>
#include <string>
#include <vector>

// Rows as lines whose cells stand in columns as wide as their widest, two spaces between them and
// nothing behind a row's last cell. A column without any text is left out.
//
// Shape: the first row has a cell for each column. A shorter row's last cell may run on.
//        `leftColumns` columns are aligned on their left side, those behind them on their right.
std::vector<std::string> inColumns(const std::vector<std::vector<std::string>>& rows,
                                   size_t leftColumns);
