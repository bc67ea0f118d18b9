// What a job is, on one screen: who sent it, what was chosen for it, how large it is.
//
// It takes what the lister finds, so a job with a fault is described as far as it can be read. What a job says twice
// differently, each is shown.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "kestojob/reader/lister.h"

namespace kesto::job {

class JobInfo : public ListWriter {
 public:
  void job(std::uint64_t /*offset*/, std::uint64_t /*number*/) override {}
  void npa(const NpaPacket& /*packet*/) override {}
  void pjl(const PjlLine& line) override;
  void header(const StreamHeader& /*header*/) override {}
  void op(const Operator& op) override;
  void image(const StripData& data) override;
  void tags(const StripData& /*data*/, const TagSummary& /*tags*/) override {}
  void end(std::uint64_t /*offset*/, std::uint64_t /*pages*/, std::uint64_t /*strips*/) override {}

  /// Writes a line for each thing that is known: what it is, and what the job says of it. The job is shown by this name
  /// and as so many bytes long.
  void write(std::ostream& out, std::string_view name, std::uint64_t bytes) const;

 private:
  struct Row {
    std::string_view label;
    std::vector<std::string> phrases;
  };

  void add(std::string_view label, const std::string& phrase);
  void addMedia(const Operator& op);
  void addColorSpace(const Operator& op);

  std::vector<Row> rows_;
  std::size_t pjlLines_ = 0;
  std::uint64_t pages_ = 0, strips_ = 0;
  double rasterBytes_ = 0;  // of the pages before compression
};

}  // namespace kesto::job
