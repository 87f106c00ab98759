// A table of texts with aligned columns.
#include "agentctl/table.h"

#include <algorithm>

#include "agentctl/terminaltext.h"

namespace NS_REFERENCE_HOST {

void Table::AddColumn(const std::string& title, Align align) {
    aligns_.push_back(align);
    rows_.front().push_back(title);
}

void Table::AddRow(const std::vector<std::string>& cells) {
    rows_.push_back(cells);
}

std::string Table::Render() const {
    std::vector<std::size_t> widths(aligns_.size(), 0);
    for (const auto& row : rows_) {
        for (std::size_t column = 0; column < widths.size(); ++column) {
            widths[column] = std::max(widths[column], CountCharacters(row.at(column)));
        }
    }
    std::string text;
    for (const auto& row : rows_) {
        std::string line;
        for (std::size_t column = 0; column < widths.size(); ++column) {
            const std::string& cell = row[column];
            const std::string padding(widths[column] - CountCharacters(cell), ' ');
            line += column == 0 ? "" : "  ";
            line += aligns_[column] == Align::Right ? padding + cell : cell + padding;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    return text;
}

}  // namespace NS_REFERENCE_HOST
