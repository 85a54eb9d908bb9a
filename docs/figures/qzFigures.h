#pragma once
// The figures of the pages, drawn from what the library really makes. Each function writes the files into a folder.

#include <string>

/// idea.svg: a small tree over triangles, as boxes and as a tree, and what a ray looks at.
void drawIdea(const std::string& folder);
/// plane.svg: a tree over the houses of a map, and what a search for a part of it looks at.
void drawPlane(const std::string& folder);
/// node.svg: the words of a qzGNode, every bit found by asking the node about it.
void drawNode(const std::string& folder);
/// four-wide.svg and quadruplet.svg: the rows of a qzQBVH, every cell where the compiler has it.
void drawRows(const std::string& folder);
