#include "data/kernels/case_kernel_body.h"

constinit const qrvml::CaseKernel qrvml::kCaseKernelV4 = kKernel;
