#include "bayes/kernels/posterior_kernel_body.h"

constinit const qrvml::PosteriorKernel qrvml::kPosteriorKernelV4 = kKernel;
