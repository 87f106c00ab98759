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
void Report(const std::string& path, const BrokenLines& lines) {
    if (lines.first.empty()) {
        return;
    }
    NS_BUNDLEMGR1::LogProxy* proxy =
        StderrLogProxyProvider()->GetLogProxy("platform CorbaConfigItems");
    for (const BrokenLine& line : lines.first) {
        proxy->SetPosition("fileconfigitems", __LINE__);
        proxy->Print(1, "%s:%zu: %s, the line is skipped", path.c_str(), line.number, line.reason);
    }
    if (lines.more > 0) {
        proxy->SetPosition("fileconfigitems", __LINE__);
        proxy->Print(1, "%s: %s", path.c_str(), DescribeMore(lines).c_str());
    }
}

}  // namespace

FileConfigItems& FileConfigItems::Instance() {
    static const NoDestructor<FileConfigItems> items;
    return *items;
}

BrokenLines FileConfigItems::Take(ConfigText text) {
    items_ = std::move(text.items);
    isRead_ = true;
    return std::move(text.brokenLines);
}

BrokenLines FileConfigItems::Read(const std::string& path) {
    const std::string text = ReadConfigText(path);
    endsWithNewline_ = EndsWithNewline(text);
    return Take(ParseConfigText(text));
}

BrokenLines FileConfigItems::ReadAgain(const std::string& path) {
    const std::string text = ReadSettledConfigText(path);
    const MutexLock guard(lock_);
    if (endsWithNewline_ && !EndsWithNewline(text)) {
        return Take(ParseUnfinishedConfigText(text));
    }
    // A missing or empty file does not show how the file usually ends.
    endsWithNewline_ = text.empty() ? endsWithNewline_ : EndsWithNewline(text);
    return Take(ParseConfigText(text));
}

bool FileConfigItems::HasRead() {
    const MutexLock guard(lock_);
    return isRead_;
}

bool FileConfigItems::GetIntItemInfo(const std::string& name, int& value) {
    std::string text;
    return GetStrItemInfo(name, text) && ParseWholeNumber(text, value);
}

void FileConfigItems::ReadOnFirstUse() {
    std::string path;
    BrokenLines broken;
    {
        const MutexLock guard(lock_);
        if (isRead_) {
            return;
        }
        path = ConfigFilePath();
        broken = Read(path);
    }
    Report(path, broken);
}

bool FileConfigItems::GetStrItemInfo(const std::string& name, std::string& value) {
    ReadOnFirstUse();
    const MutexLock guard(lock_);
    return NS_BUNDLEMGR1::GetValByKey(value, name, items_);
}

void FileConfigItems::GetCorbaConfigItems(std::vector<NS_BUNDLEMGR1::NameValueStru>& items) {
    const std::string path = ConfigFilePath();
    BrokenLines broken;
    {
        const MutexLock readingGuard(readingLock_);
        if (HasRead()) {
            broken = ReadAgain(path);
        }
        const MutexLock guard(lock_);
        if (!isRead_) {
            broken = Read(path);
        }
        items = items_;
    }
    Report(path, broken);
}

}  // namespace NS_REFERENCE_HOST
