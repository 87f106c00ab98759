// The configuration store over the agent's configuration file.
#include "fileconfigitems.h"

#include "bundlemgr/logproxy.h"
#include "configfile.h"
#include "hostcontrol.h"
#include "nodestructor.h"

namespace NS_REFERENCE_HOST {

namespace {

// Does not use the provider that the process has chosen: it may belong to a bundle, and no bundle
// is loaded when the configuration is first read.
void ReportBrokenLine(const std::string& path, const BrokenLine& line) {
    NS_BUNDLEMGR1::LogProxy* proxy =
        StderrLogProxyProvider()->GetLogProxy("platform CorbaConfigItems");
    proxy->SetPosition("fileconfigitems", __LINE__);
    proxy->Print(1, "%s:%zu: %s, the line is skipped", path.c_str(), line.number, line.reason);
}

}  // namespace

FileConfigItems& FileConfigItems::Instance() {
    static const NoDestructor<FileConfigItems> items;
    return *items;
}

void FileConfigItems::Take(const std::string& path, ConfigText text) {
    items_ = std::move(text.items);
    isRead_ = true;
    for (const BrokenLine& line : text.brokenLines) {
        ReportBrokenLine(path, line);
    }
}

void FileConfigItems::Read(const std::string& path) {
    const std::string text = ReadConfigText(path);
    endsWithNewline_ = EndsWithNewline(text);
    Take(path, ParseConfigText(text));
}

void FileConfigItems::ReadAgain(const std::string& path) {
    const std::string text = ReadSettledConfigText(path);
    const MutexLock guard(lock_);
    if (endsWithNewline_ && !EndsWithNewline(text)) {
        Take(path, ParseUnfinishedConfigText(text));
    } else {
        // A missing or empty file does not show how the file usually ends.
        endsWithNewline_ = text.empty() ? endsWithNewline_ : EndsWithNewline(text);
        Take(path, ParseConfigText(text));
    }
}

bool FileConfigItems::HasRead() {
    const MutexLock guard(lock_);
    return isRead_;
}

bool FileConfigItems::GetIntItemInfo(const std::string& name, int& value) {
    std::string text;
    return GetStrItemInfo(name, text) && ParseWholeNumber(text, value);
}

bool FileConfigItems::GetStrItemInfo(const std::string& name, std::string& value) {
    const MutexLock guard(lock_);
    if (!isRead_) {
        Read(ConfigFilePath());
    }
    return NS_BUNDLEMGR1::GetValByKey(value, name, items_);
}

void FileConfigItems::GetCorbaConfigItems(std::vector<NS_BUNDLEMGR1::NameValueStru>& items) {
    const MutexLock readingGuard(readingLock_);
    const std::string path = ConfigFilePath();
    if (HasRead()) {
        ReadAgain(path);
    }
    const MutexLock guard(lock_);
    if (!isRead_) {
        Read(path);
    }
    items = items_;
}

}  // namespace NS_REFERENCE_HOST
