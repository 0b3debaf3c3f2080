// A check of tables at compile time.
#pragma once

#include <algorithm>
#include <iterator>

// True if row i of a table holds value i in that member, so that the value finds its row.
template <class Table, class Row, class Number>
constexpr bool zorva_rows_stand_in_order(const Table& table, Number Row::*number) {
    int place = 0;
    return std::ranges::all_of(
        table, [&](const Row& row) { return static_cast<int>(row.*number) == place++; });
}
