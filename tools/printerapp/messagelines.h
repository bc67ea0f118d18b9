// A filter's messages as they arrive on a pipe: cut into lines, with the pages counted.
#pragma once

#include <functional>
#include <string>

namespace kesto::app {

class MessageLines {
 public:
  /// Reads what waits on the descriptor, at most as much as a pipe holds, so that somebody who writes without end keeps
  /// nobody here. Does not wait. Passes each whole line on. Sets `ended` at the end of the
  /// input; a last line without an end is passed on then.
  void read(int descriptor, const std::function<void(const std::string&)>& line);

  [[nodiscard]] bool ended() const { return ended_; }
  [[nodiscard]] int pages() const { return pages_; }
  /// The last error; empty when there was none.
  [[nodiscard]] const std::string& error() const { return error_; }

 private:
  void take(const std::function<void(const std::string&)>& line);

  std::string text_;
  std::string error_;
  int pages_ = 0;
  bool ended_ = false;
};

}  // namespace kesto::app
