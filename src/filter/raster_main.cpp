// rastertokesto: the same job for pages that somebody else has rendered. printjob.h has the job.
#include "filter/printjob.h"

int main(int argc, char* argv[]) {
  return kesto::filterMain(argc, argv, kesto::DocumentType::RASTER);
}
