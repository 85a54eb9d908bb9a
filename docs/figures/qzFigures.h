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
/// image-errors.svg: how far the images of vertices are from the exact ones, beside the bound.
void drawImageErrors(const std::string& folder);
/// crossing.svg: the triangles that the kernel says are crossed by rays through an edge and through a vertex.
void drawCrossing(const std::string& folder);
/// depth-error.svg and margin.svg: what an error of the image means for a depth, and for a box.
void drawDepthError(const std::string& folder);
void drawMargin(const std::string& folder);
/// winding.svg: crossings of a ray, the turns of boundary edges and the winding number around points of a plane.
void drawWinding(const std::string& folder);
