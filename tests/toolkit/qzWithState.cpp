// What the check of global state must find: a variable, and a static of a function.
namespace qzToolkit {

int nextNumber() {
  static int number = 1;
  return ++number;
}

namespace {
int counter;
}

int count() {
  return ++counter;
}

}  // namespace qzToolkit
