#pragma once
// The figures of the pages, drawn from hierarchies that the library built. Each function writes files into a folder.

#include <string>

/// idea.svg: a small hierarchy over triangles, as boxes and as a tree, and the nodes that a ray tests.
void drawIdea(const std::string& folder);
/// plane.svg: a hierarchy over the houses of a map, and the nodes that a search tests.
void drawPlane(const std::string& folder);
/// node.svg: the words of a qzGNode. The accessors of the node tell what every bit is for.
void drawNode(const std::string& folder);
/// four-wide.svg and quadruplet.svg: the rows of a qzQBVH, every cell at its address.
void drawRows(const std::string& folder);
