#include "npa/oir/NPAPrinterAlertHandler.h"

#include <algorithm>

#include "npa/oir/NPATHeader.h"
#include "npa/oir/OIRCommandRequest.h"

namespace kesto {

constinit NPATransport* NPAPrinterAlertHandler::pNPATransport = nullptr;

namespace {

constexpr unsigned long PACKET_ID = 0x1111;
constexpr std::int64_t ANSWER_OFFSET = 12;  // of the answer proper in a datagram

}  // namespace

NPAPrinterAlertHandler::NPAPrinterAlertHandler(NPATransportTypes type) {
  delete pNPATransport;
  pNPATransport = NPATransportFactory::CreateTransportObj(type).release();
}

std::int64_t NPAPrinterAlertHandler::GetPrinterOIRStatus(oirThreadParam* param) {
  if (param == nullptr || pNPATransport == nullptr) return -1;
  NPATHeaderReq header;
  header.setPacketID(PACKET_ID);
  const OIRCommandReq command;
  pNPATransport->InitializeConnection(param->address.data());

  std::array<std::uint8_t, NPATHeaderReq::getHeaderLength() + OIRCommandReq::getOIRLength()> request{};
  header.CopyNPATHdrBytes(request.data());
  command.CopyOIRReqBytes(request.data() + NPATHeaderReq::getHeaderLength());
  const std::int64_t sent = pNPATransport->SendNPACommand(request.data(), request.size());
  if (sent <= 0) return sent;

  datagram_ = {};
  receivedLength_ = pNPATransport->ReadNPAResponse(datagram_.data(), datagram_.size());
  // Only what was received counts: the length of the answer is the datagram's without the bytes before the answer.
  const auto size = static_cast<std::int64_t>(datagram_.size());
  const auto length = std::clamp(receivedLength_, ANSWER_OFFSET, size) - ANSWER_OFFSET;
  const auto result =
      response_.ParseOIRResponse(datagram_.data() + ANSWER_OFFSET, static_cast<std::uint16_t>(length), entryCount_);
  if (result != 1) entryCount_ = 0;
  return 1;
}

void NPAPrinterAlertHandler::GetParsedString(char** texts) {
  response_.mappedString(texts);
}

}  // namespace kesto
