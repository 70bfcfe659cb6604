#include "svm/kernels/svm_kernel_body.h"

constinit const qrvml::SvmKernel qrvml::kSvmKernelV2 = MakeKernel(2);
