// The hull engine's one template text, built for both scalar types.
#include "hull/quickhull.h"

#include "hull/quickhull_extract.h"
#include "hull/quickhull_grow.h"
#include "hull/quickhull_start.h"

namespace pfx {

template class QuickHull<float>;
template class QuickHull<double>;

} // namespace pfx
