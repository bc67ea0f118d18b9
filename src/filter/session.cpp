#include "filter/session.h"

#include "hdc/hdc.h"
#include "pclxl/pclxl.h"
#include "pclxl/xlnames.h"

namespace kesto {

using namespace xl;

void startSession(std::uint32_t resolution) {
  hdcWrite(XL_STREAM_HEADER.data(), XL_STREAM_HEADER.size());
  const auto units = static_cast<std::uint16_t>(resolution);
  outputXLAttrUInt16XY(hdcWrite, attr::UnitsPerMeasure, units, units);
  outputXLAttrByte(hdcWrite, attr::Measure, eInch);
  outputXLAttrByte(hdcWrite, attr::ErrorReport, eBackChAndErrPage);
  outputOperator(hdcWrite, op::BeginSession);
  outputXLAttrByte(hdcWrite, attr::SourceType, eDefaultDataSource);
  outputXLAttrByte(hdcWrite, attr::DataOrg, eBinaryLowByteFirst);
  outputOperator(hdcWrite, op::OpenDataSource);
  hdcWrite(XL_COMMENT.data(), XL_COMMENT.size());
}

void endSession() {
  outputOperator(hdcWrite, op::CloseDataSource);
  outputOperator(hdcWrite, op::EndSession);
}

}  // namespace kesto
