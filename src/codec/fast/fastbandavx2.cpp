// The inner loops of the fast band path for processors that have AVX2 and BMI; compiled with these switched on.
#include "codec/fast/fastkernel.h"

#if defined(__AVX2__)

namespace kesto::fast {

bool codeGreyWithAvx2(BandState& state) {
  return codeGrey<Avx2Lanes>(state);
}

bool codeColorWithAvx2(BandState& state) {
  return codeColor<Avx2Lanes>(state);
}

}  // namespace kesto::fast

#endif
