// A table of texts with aligned columns.
#pragma once

#include <string>
#include <vector>

namespace NS_REFERENCE_HOST {

// Thread safety: that of a value.
class Table {
  public:
    enum class Align { Left, Right };

    // One column each: what stands over it, and where its texts stand.
    void AddColumn(const std::string& title, Align align);

    // One text for each column, fit for a terminal.
    void AddRow(const std::vector<std::string>& cells);

    // The title line and the rows, each with a newline, without blanks at the ends of the lines.
    std::string Render() const;

  private:
    std::vector<Align> aligns_;
    std::vector<std::vector<std::string>> rows_{{}};  // the first one holds the titles
};

}  // namespace NS_REFERENCE_HOST
