#include "TextTable.hpp"

#include <algorithm>

namespace carvex::sim::cli {

TextTable::TextTable(std::vector<std::string> headers) {
  for (std::string& header : headers) {
    const bool right = !header.empty() && header.back() == '>';
    if (right) header.pop_back();
    right_.push_back(right);
    headers_.push_back(std::move(header));
  }
}

void TextTable::AddRow(std::vector<std::string> cells) {
  cells.resize(headers_.size());
  rows_.push_back(std::move(cells));
}

void TextTable::Print(std::ostream& out, const std::string& indent) const {
  std::vector<std::size_t> widths(headers_.size());
  for (std::size_t column = 0; column < headers_.size(); ++column) {
    widths[column] = headers_[column].size();
    for (const auto& row : rows_) widths[column] = std::max(widths[column], row[column].size());
  }
  auto line = [&](const std::vector<std::string>& cells) {
    std::string text = indent;
    for (std::size_t column = 0; column < cells.size(); ++column) {
      const std::string pad(widths[column] - cells[column].size(), ' ');
      if (column != 0) text += "  ";
      text += right_[column] ? pad + cells[column] : cells[column] + (column + 1 < cells.size() ? pad : "");
    }
    out << text << "\n";
  };
  line(headers_);
  for (const auto& row : rows_) line(row);
}

}  // namespace carvex::sim::cli
