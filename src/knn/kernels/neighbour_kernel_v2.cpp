#include "knn/kernels/neighbour_kernel_body.h"

constinit const qrvml::NeighbourKernel qrvml::kNeighbourKernelV2 = MakeKernel(2);
