// A table of texts with aligned columns.
#pragma once

#include <string>
#include <vector>

namespace NS_REFERENCE_HOST {

// Thread safety: that of a value.
class Table {
  public:
    enum class Align { Left, Right };

    // The title and the alignment of one column.
    void AddColumn(const std::string& title, Align align);

    // One text for each column. REQUIRES: the texts are safe for a terminal.
    void AddRow(const std::vector<std::string>& cells);

    // Returns the title line and the rows, each with a newline and without blanks at its end.
    std::string Render() const;

  private:
    std::vector<Align> aligns_;
    std::vector<std::vector<std::string>> rows_{{}};  // the first one holds the titles
};

}  // namespace NS_REFERENCE_HOST
