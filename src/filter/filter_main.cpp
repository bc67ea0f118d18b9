// pdftokesto: the entry of the program. printjob.h has the job.
#include <new>

#include "filter/joberror.h"
#include "filter/printjob.h"

int main(int argc, char* argv[]) {
  try {
    return kesto::runJob(argc, argv);
  } catch (const kesto::JobError& failure) {
    return kesto::endFailedJob(failure);
  } catch (const std::bad_alloc&) {
    return kesto::endWithoutMemory();
  }
}
