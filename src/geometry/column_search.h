// The columns of a row in which a coordinate, which grows or falls from column to column, is
// within bounds.
#pragma once

#include <algorithm>

namespace KELRA {

struct Columns {
  int first, last;
};

// The first of `columns` columns for which `holds` does; it holds for all after the first one. The
// guess only saves time.
template <class Predicate>
int FirstColumn(double guess, int columns, Predicate holds) {
  int column = guess > 0 ? static_cast<int>(std::min<double>(guess + 1, columns)) : 0;
  while (column > 0 && holds(column - 1)) {
    --column;
  }
  while (column < columns && !holds(column)) {
    ++column;
  }
  return column;
}

}  // namespace KELRA
