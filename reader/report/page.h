// The page of a report, without its data.
#pragma once

namespace NS_LOG_READER {

// HTML; "<!--DATA-->" stands where the data goes, as JSON.
extern const char* const kReportPage;

}  // namespace NS_LOG_READER
