#include "knn/kernels/neighbour_kernel_body.h"

constinit const qrvml::NeighbourKernel qrvml::kNeighbourKernelV4 = MakeKernel(4);
