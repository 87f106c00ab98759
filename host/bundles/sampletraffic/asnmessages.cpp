// The text forms of the sample messages.
#include "sampletraffic/asnmessages.h"

namespace NS_REFERENCE_HOST {

namespace {

// Prints a message's fields between braces, one a line or all on one, as deep as they are nested.
//
// Thread safety: one thread, under the lock of whoever prints.
class FieldPrinter {
  public:
    FieldPrinter(std::ostream& out, const char* title, unsigned short indent, int format)
        : out_(out), indent_(indent), separator_(format == 1 ? '\n' : ' ') {
        Indent();
        out_ << title << " {" << separator_;
        ++indentG;
    }

    ~FieldPrinter() {
        --indentG;
        Indent();
        out_ << '}' << separator_;
    }

    FieldPrinter(const FieldPrinter&) = delete;
    FieldPrinter& operator=(const FieldPrinter&) = delete;

    void Quoted(const char* name, const std::string& value) {
        Indent();
        out_ << name << " = \"" << value << '"' << separator_;
    }

    void Number(const char* name, unsigned int value) {
        Indent();
        out_ << name << " = " << value << separator_;
    }

    void Plain(const std::string& text) {
        Indent();
        out_ << text << separator_;
    }

  private:
    void Indent() {
        if (separator_ == '\n') {
            out_ << std::string(indent_ + 2U * indentG, ' ');
        }
    }

    std::ostream& out_;
    const unsigned short indent_;
    const char separator_;
};

}  // namespace

NetworkElementResponse::NetworkElementResponse(unsigned int id, const std::string& user,
                                               const std::string& password)
    : id_(id), user_(user), password_(password) {}

const char* NetworkElementResponse::GetTypeName() const {
    return "QAsnGetNEInfoRsp";
}

void NetworkElementResponse::Print(std::ostream& out, unsigned short indent, int format) const {
    FieldPrinter message(out, GetTypeName(), indent, format);
    message.Number("neID", id_);
    message.Quoted("neName", "NE-" + std::to_string(id_));
    FieldPrinter access(out, "access", indent, format);
    access.Quoted("NEUser", user_);
    access.Quoted("NEPwd", password_);
}

LocationResponse::LocationResponse(const std::string& city, const std::string& room,
                                   unsigned int cabinet)
    : city_(city), room_(room), cabinet_(cabinet) {}

const char* LocationResponse::GetTypeName() const {
    return "QAsnGetPhysicalLocationInfoRsp";
}

void LocationResponse::Print(std::ostream& out, unsigned short indent, int format) const {
    FieldPrinter message(out, GetTypeName(), indent, format);
    message.Quoted("city", city_);
    message.Quoted("equipmentRoomName", room_);
    message.Number("cabinetName", cabinet_);
}

ConnectionResponse::ConnectionResponse(unsigned int index, const std::string& customer)
    : index_(index), customer_(customer) {}

const char* ConnectionResponse::GetTypeName() const {
    return "QAsnGetSNCsByIdxsRsp";
}

void ConnectionResponse::Print(std::ostream& out, unsigned short indent, int format) const {
    FieldPrinter message(out, GetTypeName(), indent, format);
    message.Number("index", index_);
    message.Plain("customer:" + customer_);
    message.Quoted("rate", "STM-16");
}

TransferScheduleRequest::TransferScheduleRequest(const std::string& server,
                                                 const std::string& password)
    : server_(server), password_(password) {}

const char* TransferScheduleRequest::GetTypeName() const {
    return "AsneVOXScheduleCreateReq";
}

void TransferScheduleRequest::Print(std::ostream& out, unsigned short indent, int format) const {
    FieldPrinter message(out, GetTypeName(), indent, format);
    message.Plain("<FTPServer>" + server_ + "</FTPServer>");
    message.Plain("<FTPPassWord>" + password_ + "</FTPPassWord>");
}

}  // namespace NS_REFERENCE_HOST
