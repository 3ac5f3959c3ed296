// The sphere builder lives with the other shared shapes; benchmarks include it by this name.
#pragma once
#include "support/sphere_mesh.h"
