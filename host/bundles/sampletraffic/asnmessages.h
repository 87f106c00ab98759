// Some of the messages that a northbound agent exchanges with its clients.
#pragma once

#include <string>

#include "asn/asnobject.h"

namespace NS_REFERENCE_HOST {

// What is known of a network element, the password to log in to it included.
class NetworkElementResponse : public NS_ASN1::AsnObject {
  public:
    NetworkElementResponse(unsigned int id, const std::string& user, const std::string& password);
    void Print(std::ostream& out, unsigned short indent, int format) const override;
    const char* GetTypeName() const override;

  private:
    unsigned int id_;
    std::string user_;
    std::string password_;
};

// Where a piece of equipment stands.
class LocationResponse : public NS_ASN1::AsnObject {
  public:
    LocationResponse(const std::string& city, const std::string& room, unsigned int cabinet);
    void Print(std::ostream& out, unsigned short indent, int format) const override;
    const char* GetTypeName() const override;

  private:
    std::string city_;
    std::string room_;
    unsigned int cabinet_;
};

// A connection through the network and the customer it belongs to.
class ConnectionResponse : public NS_ASN1::AsnObject {
  public:
    ConnectionResponse(unsigned int index, const std::string& customer);
    void Print(std::ostream& out, unsigned short indent, int format) const override;
    const char* GetTypeName() const override;

  private:
    unsigned int index_;
    std::string customer_;
};

// The order to transfer measurements regularly to a client's file server.
class TransferScheduleRequest : public NS_ASN1::AsnObject {
  public:
    TransferScheduleRequest(const std::string& server, const std::string& password);
    void Print(std::ostream& out, unsigned short indent, int format) const override;
    const char* GetTypeName() const override;

  private:
    std::string server_;
    std::string password_;
};

}  // namespace NS_REFERENCE_HOST
