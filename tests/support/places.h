// Where tests find the built program and the files they read.
#pragma once

namespace qrvml {

extern const char* const kProgram;   // the built qrvml
extern const char* const kExamples;  // the folder examples/
extern const char* const kTestData;  // the folder tests/data/

}  // namespace qrvml
