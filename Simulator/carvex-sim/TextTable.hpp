// Aligned text tables for the terminal: a header row, then rows of cells;
// columns marked numeric are right-aligned.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace carvex::sim::cli {

class TextTable {
 public:
  // A header ending in '>' marks a right-aligned column (the '>' is dropped).
  explicit TextTable(std::vector<std::string> headers);

  void AddRow(std::vector<std::string> cells);
  bool Empty() const { return rows_.empty(); }
  // Each line starts with `indent`; columns are two spaces apart.
  void Print(std::ostream& out, const std::string& indent = "  ") const;

 private:
  std::vector<std::string> headers_;
  std::vector<bool> right_;
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace carvex::sim::cli
