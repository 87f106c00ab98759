// Tracing an ASN message, up to the file.
#pragma once

#include "asn/asnobject.h"
#include "harness/asntext.h"
#include "harness/contender.h"
#include "service/servicebundle.h"

namespace NS_BENCH {

// Prints field by field, as the operations do that are made from an ASN description.
class FieldMessage : public NS_ASN1::AsnObject {
  public:
    explicit FieldMessage(size_t size) : fields_(AsnFields(size, 10)) {}

    void Print(std::ostream& out, unsigned short /*indent*/, int /*format*/) const override {
        for (const AsnField& field : fields_) {
            PrintAsnField(out, field);
        }
    }
    const char* GetTypeName() const override { return kAsnType; }

  private:
    const std::vector<AsnField> fields_;
};

// Subject "asn", a message of job.count bytes; ways "PrintAsn" and "LogAsnTrace", which masks.
class ServiceAsnTrace : public Contender {
  public:
    explicit ServiceAsnTrace(const Job& job);

    void EnterThread() override { EnterSampleOperation(); }
    void Record(int category, int number) override;

  private:
    const std::string file_;
    const std::string function_;
    const bool masks_;
    FieldMessage message_;
    ServiceBundle bundle_;
    NS_LOG_SERVICE1::LoggerIF* const logger_;
};

}  // namespace NS_BENCH
