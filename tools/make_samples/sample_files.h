// The sample meshes in each file format, written without the library so that
// the samples stand on their own when a reader is being tested with them.
#pragma once

#include <string>

#include "sample_shapes.h"

namespace make_samples {

// The native multi-object text layout: one object per group.
std::string mov_text(const Shape& shape);
// Wavefront OBJ: "g" lines when the shape has several groups.
std::string obj_text(const Shape& shape);
// STL text and binary; every quad as two facets (0,1,2), (2,3,0).
std::string stl_text(const Shape& shape);
std::string stl_binary(const Shape& shape);

} // namespace make_samples
