// Masking key after key.
#include "masking/plainmasking.h"

#include <vector>

namespace {

std::vector<std::string> KeysOf(const std::string& typeName) {
    if (typeName == "QAsnGetWDMSNCsByIdxsRsp" || typeName == "QAsnGetSNCsByIdxsRsp" ||
        typeName == "QAsnGetSNCsByCIDsRsp" || typeName == "QAsnGetWDMSNCsByCIDsRsp") {
        return {"customer:"};
    }
    if (typeName == "QAsnGetPhysicalLocationInfoRsp") {
        return {"roomID",   "equipmentRoomName", "cabinetName", "name", "memo",    "subshelfMemo",
                "siteName", "country",           "province",    "city", "location"};
    }
    if (typeName == "QAsnGetNEInfoRsp" || typeName == "QAsnCreateNERpt") {
        return {"NEPwd"};
    }
    if (typeName == "AsneVOXScheduleCreateReq") {
        return {"<FTPPassWord>"};
    }
    return {};
}

void Hide(std::string& text, std::size_t begin, std::size_t end) {
    text.replace(begin, end - begin, std::string(end - begin, '*'));
}

void MaskRestOfLines(const std::string& key, std::string& text) {
    std::size_t p = 0;
    for (;;) {
        const std::size_t found = text.find(key, p);
        if (found == std::string::npos) {
            return;
        }
        const std::size_t s = found + key.size();
        std::size_t e = text.find('\n', s);
        if (e == std::string::npos) {
            e = text.size();
        }
        Hide(text, s, e);
        p = e;
    }
}

void MaskQuoted(const std::string& key, std::string& text) {
    std::size_t p = 0;
    for (;;) {
        const std::size_t found = text.find(key, p);
        if (found == std::string::npos || found + key.size() + 1 == text.size()) {
            return;
        }
        const std::size_t quote = text.find('"', found + key.size() + 1);
        if (quote == std::string::npos) {
            return;
        }
        const std::size_t s = quote + 1;
        std::size_t e = text.find('"', s);
        if (e == std::string::npos) {
            e = text.size();
        }
        Hide(text, s, e);
        p = e;
    }
}

void MaskTagged(const std::string& tag, std::string& text) {
    std::size_t p = 0;
    for (;;) {
        const std::size_t found = text.find(tag, p);
        if (found == std::string::npos || found + tag.size() == text.size()) {
            return;
        }
        const std::size_t s = found + tag.size();
        const std::size_t e = text.find("</FTPPassWord>", s);
        if (e == std::string::npos) {
            return;
        }
        Hide(text, s, e);
        p = e;
    }
}

}  // namespace

std::string MaskPlainly(const std::string& typeName, std::string text) {
    for (const std::string& key : KeysOf(typeName)) {
        if (key == "NEPwd") {
            MaskQuoted(key, text);
        } else if (key == "<FTPPassWord>") {
            MaskTagged(key, text);
        } else {
            MaskRestOfLines(key, text);
        }
    }
    return text;
}
