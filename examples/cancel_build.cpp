// Shows the progress of a build and cancels it from another thread.
#include <qzCommonAddOns/qzCommonAddOns.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>
#include <vector>

// A build polls this at every node and primitive, so it reads a flag and no more. Once true, it must stay true until
// the build has returned.
class StopButton : public qz::qzCancelInterfaceReadOnly {
 public:
  void press() { mIsPressed = true; }
  bool isCanceled() const override { return mIsPressed; }

 private:
  std::atomic<bool> mIsPressed{false};
};

// A build reads every box three times. The number of calls shows how far it is.
class CountedBoxes : public qzLinearGenericBVHBuilder::tPrimitiveContainerInterface {
 public:
  explicit CountedBoxes(std::vector<qzBBox> boxes) : mBoxes(std::move(boxes)) {}
  const qzBBox* getBBox(unsigned int i) const override {
    mNbCalls.fetch_add(1, std::memory_order_relaxed);
    return &mBoxes[i];
  }
  unsigned int getQuantity() const override { return static_cast<unsigned int>(mBoxes.size()); }
  double nbBuilds() const { return static_cast<double>(mNbCalls) / (3.0 * static_cast<double>(mBoxes.size())); }

 private:
  std::vector<qzBBox> mBoxes;
  mutable std::atomic<unsigned long> mNbCalls{0};
};

int main() {
  std::vector<qzBBox> boxes;
  for (int i = 0; i < 100000; ++i) {
    const float x = static_cast<float>(i % 1000), y = static_cast<float>(i / 1000);
    boxes.push_back(qzBBox::Make(x, y, 0, x + 0.5f, y + 0.5f, 1));
  }
  const CountedBoxes container(std::move(boxes));
  StopButton stop;

  // Rebuild again and again, as an editor does while objects move, until a build is cancelled.
  qzGenericBVH finished;
  bool isStopped = false;
  std::thread worker([&] {
    qzLinearGenericBVHBuilder builder;
    qzGenericBVH tree;
    while (builder.build(container, tree, &stop, 20)) finished.swapBVH(tree);
    isStopped = true;  // tree is unfinished, only good for another build; finished holds the last complete one
  });

  while (container.nbBuilds() < 2.5) {
    std::fprintf(stderr, "\r%3.0f %% ", 100 * container.nbBuilds());
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  stop.press();
  worker.join();
  std::fprintf(stderr, "\n");
  std::printf("%s, the last complete tree has %zu nodes\n", isStopped ? "stopped" : "not stopped",
              finished.getNodes().size());
}
