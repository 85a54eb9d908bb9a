#include <doctest/doctest.h>
#include <toolkit/base/qzError.h>

#include <string>

using qzToolkit::qzError;

TEST_CASE("an error is a place and a message") {
  CHECK(qzError("mesh.obj:3", "no number").what() == std::string("mesh.obj:3: no number"));
}

TEST_CASE("control characters become spaces, and are removed at the end") {
  CHECK(qzError("one\ntwo\r\nthree").what() == std::string("one two  three"));
  CHECK(qzError("\x1b[31mred\x7f\t.").what() == std::string(" [31mred  ."));
  CHECK(qzError("the end\r\n").what() == std::string("the end"));
}

TEST_CASE("letters beyond ASCII stay") {
  CHECK(qzError("R\xc3\xa4"
                "der.obj")
            .what() == std::string("R\xc3\xa4"
                                   "der.obj"));
}
