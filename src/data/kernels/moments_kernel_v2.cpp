#include "data/kernels/moments_kernel_body.h"

constinit const qrvml::MomentsKernel qrvml::kMomentsKernelV2 = kKernel;
