#pragma once
// A standard stream redirected into a string.

#include <iostream>
#include <sstream>
#include <string>

namespace qzTest {

/// While it lives, std::cout (or std::clog) writes into a string, at first with the default formatting. Afterwards buffer
/// and formatting are as before.
class StandardStream {
 public:
  explicit StandardStream(std::ostream& stream = std::cout)
      : mStream(stream), mFormat(nullptr), mPrevious(stream.rdbuf(&mBuffer)) {
    mFormat.copyfmt(mStream);
    mStream.copyfmt(std::ios(nullptr));
  }
  ~StandardStream() {
    mStream.rdbuf(mPrevious);
    mStream.copyfmt(mFormat);
  }
  StandardStream(const StandardStream&) = delete;
  StandardStream& operator=(const StandardStream&) = delete;

  std::string text() const { return mBuffer.str(); }
  int nbFlushes() const { return mBuffer.mNbFlushes; }

 private:
  struct Buffer : std::stringbuf {
    int mNbFlushes = 0;
    int sync() override {
      ++mNbFlushes;
      return std::stringbuf::sync();
    }
  };
  Buffer mBuffer;
  std::ostream& mStream;
  std::ios mFormat;
  std::streambuf* mPrevious;
};

}  // namespace qzTest
