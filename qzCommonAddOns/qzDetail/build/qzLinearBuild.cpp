#include <qzCommonAddOns/qzDetail/build/qzLinearBuild.h>

#include <qzCommonAddOns/qzDetail/base/qzByteSize.h>
#include <qzCommonAddOns/qzDetail/base/qzLogRecord.h>

#include <string>

namespace {

// Writes one record of the build. Composes its text only if the logger wants it.
template <class MakeText>
void log(MakeText makeText) {
  if (qzDetail::isLogged(qzDetail::kLogInfo)) qzDetail::logRecord(qzDetail::kLogInfo, "bvh", makeText().c_str());
}

std::string allocated(std::uint64_t bytes, const std::string& what) {
  return "qzLinearGenericBVHBuilder : allocate " + qzDetail::formatByteSize(static_cast<std::int64_t>(bytes)) + "B " +
         what;
}

}  // namespace

void qzDetail::logIndexAllocation(std::uint32_t nbPrimitives) {
  log([=] {
    return allocated(4 * std::uint64_t(nbPrimitives), "for " + std::to_string(nbPrimitives) + " primitives indexes");
  });
}

void qzDetail::logWorkingBuffer(std::uint64_t nbGroups) {
  log([=] { return allocated(8 * nbGroups, "of working buffer"); });
}

void qzDetail::logNodeAllocation(std::uint64_t nbCodes) {
  log([=] { return allocated(64 * nbCodes, "for " + std::to_string(2 * nbCodes) + " result nodes"); });
}

void qzDetail::logFusion(std::uint64_t nbWhole, std::uint64_t nbFused) {
  log([=] {
    return "fuse " + std::to_string(static_cast<std::uint32_t>(nbWhole)) + " into " + std::to_string(nbFused);
  });
}
