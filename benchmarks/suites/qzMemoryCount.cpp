#include <benchmarks/suites/qzMemoryCount.h>

#include <errno.h>
#include <malloc.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>

namespace {

// The C library's own allocation functions, under the names it provides for replacements to call.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}

std::atomic<bool> isCounting{false};
std::atomic<long long> bytesNow{0}, bytesPeak{0};

void count(long long bytes) {
  const long long now = bytesNow.fetch_add(bytes, std::memory_order_relaxed) + bytes;
  long long peak = bytesPeak.load(std::memory_order_relaxed);
  while (now > peak && !bytesPeak.compare_exchange_weak(peak, now, std::memory_order_relaxed)) {
  }
}

bool mustCount() {
  return isCounting.load(std::memory_order_relaxed);
}

void* counted(void* block) {
  if (mustCount() && block != nullptr) count(static_cast<long long>(malloc_usable_size(block)));
  return block;
}

long long wholePages(std::size_t length) {
  return static_cast<long long>((length + 4095) & ~std::size_t(4095));
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
  return counted(__libc_malloc(size));
}
void* calloc(std::size_t number, std::size_t size) {
  return counted(__libc_calloc(number, size));
}
void* memalign(std::size_t alignment, std::size_t size) {
  return counted(__libc_memalign(alignment, size));
}
void* aligned_alloc(std::size_t alignment, std::size_t size) {
  return counted(__libc_memalign(alignment, size));
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  void* const result = memalign(alignment, size);
  if (result == nullptr) return ENOMEM;
  *block = result;
  return 0;
}

void* realloc(void* block, std::size_t size) {
  if (mustCount() && block != nullptr) count(-static_cast<long long>(malloc_usable_size(block)));
  return counted(__libc_realloc(block, size));
}

void free(void* block) {
  if (mustCount() && block != nullptr) count(-static_cast<long long>(malloc_usable_size(block)));
  __libc_free(block);
}

// The C library's allocator maps memory without calling these.
void* mmap(void* address, std::size_t length, int protection, int flags, int file, off_t offset) noexcept {
  const long number = syscall(SYS_mmap, address, length, protection, flags, file, offset);
  void* const result = reinterpret_cast<void*>(number);  // NOLINT: the system call returns the address as a number
  if (mustCount() && result != MAP_FAILED && (flags & MAP_ANONYMOUS) != 0) count(wholePages(length));
  return result;
}

int munmap(void* address, std::size_t length) noexcept {
  const int result = static_cast<int>(syscall(SYS_munmap, address, length));
  if (mustCount() && result == 0) count(-wholePages(length));
  return result;
}

}  // extern "C"

namespace qzBench {

qzMemoryCount::qzMemoryCount() {
  bytesNow = 0;
  bytesPeak = 0;
  isCounting = true;
}

qzMemoryCount::~qzMemoryCount() {
  isCounting = false;
}

long long qzMemoryCount::getBytes() const {
  return bytesNow;
}
long long qzMemoryCount::getPeakBytes() const {
  return bytesPeak;
}

}  // namespace qzBench
