// pdftokesto: the entry of the program. printjob.h has the job.
#include "filter/printjob.h"

int main(int argc, char* argv[]) {
  return kesto::filterMain(argc, argv, kesto::DocumentType::PDF);
}
