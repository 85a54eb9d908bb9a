#pragma once
// std::cout led into a string, with the formatting that a test sets; afterwards both are as before.

#include <iostream>
#include <sstream>
#include <string>

namespace qzTest {

class StandardStream {
 public:
  StandardStream() : mFormat(nullptr), mPrevious(std::cout.rdbuf(&mBuffer)) {
    mFormat.copyfmt(std::cout);
    std::cout.copyfmt(std::ios(nullptr));  // the default formatting
  }
  ~StandardStream() {
    std::cout.rdbuf(mPrevious);
    std::cout.copyfmt(mFormat);
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
  std::ios mFormat;
  std::streambuf* mPrevious;
};

}  // namespace qzTest
