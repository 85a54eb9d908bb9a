#pragma once
// Whole files in and out of memory. A name "-" is standard input or standard output.
// Every failure throws a qzError that names the file.

#include <string>
#include <string_view>

namespace qzToolkit {

/// All bytes of a file.
std::string readFile(const std::string& name);

/// All bytes that a gzip file holds, which may have several members. A cut or damaged one is an error.
std::string readGzipFile(const std::string& name);

/// Writes a file completely or not at all: the bytes go to a temporary file beside the target, which then takes the
/// target's place. On any failure, a full disk included, the temporary file is gone and the target as it was. A link is
/// followed; a target that is no regular file (a device, a pipe) is written to as it stands.
/// A limit on file sizes counts as a full disk only when the signal SIGXFSZ is ignored.
void writeFile(const std::string& name, std::string_view bytes);

/// The end of a file name after its last dot in lower case, without the dot: "ply"; empty when there is none.
std::string fileExtension(const std::string& name);

}  // namespace qzToolkit
