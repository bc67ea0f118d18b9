// The inner loops of the fast paths in vectors of 32 bytes; compiled for processors that have AVX2 and BMI.
#include "codec/fast/kernels.h"

#if defined(__AVX2__)

namespace kesto::fast {

const Kernels AVX2_KERNELS = KERNELS<32>;

}  // namespace kesto::fast

#endif
