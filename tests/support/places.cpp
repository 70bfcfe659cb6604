#include "support/places.h"

namespace qrvml {

const char* const kProgram = QRVML_PROGRAM;
const char* const kExamples = QRVML_EXAMPLES;
const char* const kTestData = QRVML_TEST_DATA;

}  // namespace qrvml
