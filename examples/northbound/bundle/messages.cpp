// The text forms of the requests and answers, for the log.
#include "bundle/messages.h"

namespace NS_NORTHBOUND {

namespace {

// Prints a message's fields between braces, always one in a line: what is masked from a key on ends
// at the line's end.
class FieldPrinter {
  public:
    FieldPrinter(std::ostream& out, const char* title, unsigned short indent)
        : out_(out), indent_(indent) {
        Indent() << title << " {\n";
        ++indentG;
    }

    ~FieldPrinter() {
        --indentG;
        Indent() << "}\n";
    }

    FieldPrinter(const FieldPrinter&) = delete;
    FieldPrinter& operator=(const FieldPrinter&) = delete;

    // A text may come from a client, so that it may hold anything: no line of it may look like one
    // of the log's own.
    void Text(const char* name, const std::string& value) {
        Indent() << name << " = \"";
        for (const char character : value) {
            out_ << (static_cast<unsigned char>(character) < ' ' ? '?' : character);
        }
        out_ << "\"\n";
    }

    void Number(const char* name, uint64_t value) { Indent() << name << " = " << value << '\n'; }

    void Line(const char* name, const std::string& value) { Indent() << name << value << '\n'; }

  private:
    std::ostream& Indent() {
        for (unsigned int column = 0; column < indent_ + 2U * indentG; ++column) {
            out_ << ' ';
        }
        return out_;
    }

    std::ostream& out_;
    const unsigned short indent_;
};

}  // namespace

NumbersRequest::NumbersRequest(const char* typeName, Field first, Field second)
    : typeName_(typeName), fields_{first, second} {}

const char* NumbersRequest::GetTypeName() const {
    return typeName_;
}

void NumbersRequest::Print(std::ostream& out, unsigned short indent, int /*format*/) const {
    FieldPrinter message(out, typeName_, indent);
    for (const Field& field : fields_) {
        if (field.name != nullptr) {
            message.Number(field.name, field.value);
        }
    }
}

OpenSessionRequest::OpenSessionRequest(const std::string& user) : user_(user) {}

const char* OpenSessionRequest::GetTypeName() const {
    return "QAsnOpenSessionReq";
}

void OpenSessionRequest::Print(std::ostream& out, unsigned short indent, int /*format*/) const {
    FieldPrinter message(out, GetTypeName(), indent);
    message.Text("user", user_);
}

ElementsAnswer::ElementsAnswer(const std::vector<Element>& elements) : elements_(elements) {}

const char* ElementsAnswer::GetTypeName() const {
    return "QAsnGetNEInfoRsp";
}

void ElementsAnswer::Print(std::ostream& out, unsigned short indent, int /*format*/) const {
    FieldPrinter message(out, GetTypeName(), indent);
    for (const Element& element : elements_) {
        FieldPrinter fields(out, "element", indent);
        fields.Number("neID", element.id);
        fields.Text("neName", element.name);
        fields.Text("neType", element.type);
        fields.Text("NEUser", element.accessUser);
        fields.Text("NEPwd", element.accessPassword);
    }
}

SiteAnswer::SiteAnswer(uint32_t element, const Site& site) : element_(element), site_(site) {}

const char* SiteAnswer::GetTypeName() const {
    return "QAsnGetPhysicalLocationInfoRsp";
}

void SiteAnswer::Print(std::ostream& out, unsigned short indent, int /*format*/) const {
    FieldPrinter message(out, GetTypeName(), indent);
    message.Number("neID", element_);
    message.Text("country", site_.country);
    message.Text("city", site_.city);
    message.Text("equipmentRoomName", site_.room);
    message.Text("cabinetName", site_.cabinet);
}

ConnectionsAnswer::ConnectionsAnswer(const std::vector<Connection>& connections)
    : connections_(connections) {}

const char* ConnectionsAnswer::GetTypeName() const {
    return "QAsnGetSNCsByIdxsRsp";
}

void ConnectionsAnswer::Print(std::ostream& out, unsigned short indent, int /*format*/) const {
    FieldPrinter message(out, GetTypeName(), indent);
    for (const Connection& connection : connections_) {
        FieldPrinter fields(out, "connection", indent);
        fields.Number("index", connection.index);
        fields.Line("customer:", connection.customer);
        fields.Text("rate", connection.rate);
    }
}

AlarmsAnswer::AlarmsAnswer(const std::vector<Alarm>& alarms) : alarms_(alarms) {}

const char* AlarmsAnswer::GetTypeName() const {
    return "QAsnGetActiveAlarmsRsp";
}

void AlarmsAnswer::Print(std::ostream& out, unsigned short indent, int /*format*/) const {
    FieldPrinter message(out, GetTypeName(), indent);
    for (const Alarm& alarm : alarms_) {
        FieldPrinter fields(out, "alarm", indent);
        fields.Number("alarmID", alarm.id);
        fields.Number("neID", alarm.element);
        fields.Text("cause", alarm.cause);
        fields.Text("severity", NS_NORTHBOUND::NameOf(alarm.severity));
    }
}

}  // namespace NS_NORTHBOUND
