#pragma once
// Rays and hits as tables in files: text with commas (CSV) or .npy arrays.

#include <toolkit/qzRayCast.h>

#include <string>
#include <vector>

namespace qzToolkit {

/// Reads rays, one per row: origin x, y, z, direction x, y, z and, where the table has them, tMin (else 0) and tMax
/// (else +inf). "-" is standard input. What begins like a .npy file is read as one, see qzNumpyArray; anything else is
/// text: numbers between commas, one row per line, blank lines passed over, and a first line without a single number
/// taken for names of columns. NaN and infinities are numbers. Failure: a wrong number of columns, a bad number or one
/// beyond the range of float throws a qzError that names the file and the line (.npy: the row from 0). No rays at all
/// are not a failure.
std::vector<qzRay> readRays(const std::string& name);

/// Hits as text, a line of column names and one line per hit: distance, triangle, weight0, weight1, weight2. No hit is
/// "inf,-1,nan,nan,nan". Every number reads back to the same bits.
std::string encodeHitsAsText(const std::vector<qzHit>& hits);

/// The same columns as a .npy array of float64, which holds all the values exactly.
std::string encodeHitsAsNumpy(const std::vector<qzHit>& hits);

/// Writes hits to a file: as .npy when its name ends so, else as text. "-" is standard output, as text.
void writeHits(const std::string& name, const std::vector<qzHit>& hits);

}  // namespace qzToolkit
