// The text forms of the requests and answers, for the log.
//
// An answer that carries passwords, places or customers has a type that the logging service knows
// and whose secrets it masks. A message of any other type is written as it prints itself: so it
// must print no secret, and the classes below are not even given one.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "asn/asnobject.h"
#include "network/alarmboard.h"
#include "network/network.h"

namespace NS_NORTHBOUND {

// All messages borrow what they are made of: make and log them in one place.
//
// Thread safety: one thread.

// A request that consists of numbers.
class NumbersRequest : public NS_ASN1::AsnObject {
  public:
    struct Field {
        const char* name;
        uint64_t value;
    };

    NumbersRequest(const char* typeName, Field first, Field second = {nullptr, 0});
    void Print(std::ostream& out, unsigned short indent, int format) const override;
    const char* GetTypeName() const override;

  private:
    const char* const typeName_;
    const std::array<Field, 2> fields_;
};

// The request to log in. The password is left out: no masking knows this type.
class OpenSessionRequest : public NS_ASN1::AsnObject {
  public:
    explicit OpenSessionRequest(const std::string& user);
    void Print(std::ostream& out, unsigned short indent, int format) const override;
    const char* GetTypeName() const override;

  private:
    const std::string& user_;
};

// Elements with the passwords to log in to them. Each password is masked.
class ElementsAnswer : public NS_ASN1::AsnObject {
  public:
    explicit ElementsAnswer(const std::vector<Element>& elements);
    void Print(std::ostream& out, unsigned short indent, int format) const override;
    const char* GetTypeName() const override;

  private:
    const std::vector<Element>& elements_;
};

// Where an element stands. All of the place is masked.
class SiteAnswer : public NS_ASN1::AsnObject {
  public:
    SiteAnswer(uint32_t element, const Site& site);
    void Print(std::ostream& out, unsigned short indent, int format) const override;
    const char* GetTypeName() const override;

  private:
    const uint32_t element_;
    const Site& site_;
};

// The connections through an element. The customers' names are masked.
class ConnectionsAnswer : public NS_ASN1::AsnObject {
  public:
    explicit ConnectionsAnswer(const std::vector<Connection>& connections);
    void Print(std::ostream& out, unsigned short indent, int format) const override;
    const char* GetTypeName() const override;

  private:
    const std::vector<Connection>& connections_;
};

// Active alarms; they hold no secret.
class AlarmsAnswer : public NS_ASN1::AsnObject {
  public:
    explicit AlarmsAnswer(const std::vector<Alarm>& alarms);
    void Print(std::ostream& out, unsigned short indent, int format) const override;
    const char* GetTypeName() const override;

  private:
    const std::vector<Alarm>& alarms_;
};

}  // namespace NS_NORTHBOUND
