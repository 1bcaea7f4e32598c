// The table of instances, included at the end of each level's source, inside its namespace.

const WeightedKernels WEIGHTED_KERNELS = {
    {IntegerKernel<LAPLACE, 0>, IntegerKernel<LAPLACE, 1>, IntegerKernel<LAPLACE, 2>,
     IntegerKernel<LAPLACE, 3>, IntegerKernel<LAPLACE, 4>, IntegerKernel<LAPLACE, 5>},
    {{RootKernel<0>, RootKernel<1>, RootKernel<2>, RootKernel<3>, RootKernel<4>, RootKernel<5>,
      RootKernel<6>, RootKernel<7>},
     {IntegerKernel<1, 0>, IntegerKernel<1, 1>, IntegerKernel<1, 2>, IntegerKernel<1, 3>,
      IntegerKernel<1, 4>, IntegerKernel<1, 5>, IntegerKernel<1, 6>, IntegerKernel<1, 7>},
     {IntegerKernel<2, 0>, IntegerKernel<2, 1>, IntegerKernel<2, 2>, IntegerKernel<2, 3>,
      IntegerKernel<2, 4>, IntegerKernel<2, 5>, IntegerKernel<2, 6>, IntegerKernel<2, 7>},
     {IntegerKernel<3, 0>, IntegerKernel<3, 1>, IntegerKernel<3, 2>, IntegerKernel<3, 3>,
      IntegerKernel<3, 4>, IntegerKernel<3, 5>, IntegerKernel<3, 6>, IntegerKernel<3, 7>},
     {IntegerKernel<4, 0>, IntegerKernel<4, 1>, IntegerKernel<4, 2>, IntegerKernel<4, 3>,
      IntegerKernel<4, 4>, IntegerKernel<4, 5>, IntegerKernel<4, 6>, IntegerKernel<4, 7>},
     {IntegerKernel<5, 0>, IntegerKernel<5, 1>, IntegerKernel<5, 2>, IntegerKernel<5, 3>,
      IntegerKernel<5, 4>, IntegerKernel<5, 5>, IntegerKernel<5, 6>, IntegerKernel<5, 7>},
     {IntegerKernel<6, 0>, IntegerKernel<6, 1>, IntegerKernel<6, 2>, IntegerKernel<6, 3>,
      IntegerKernel<6, 4>, IntegerKernel<6, 5>, IntegerKernel<6, 6>, IntegerKernel<6, 7>}},
    {IntegerKernel<ENHANCE, ENHANCE_INNER>, IntegerKernel<ENHANCE, ENHANCE_EDGE_ROW>,
     IntegerKernel<ENHANCE, ENHANCE_EDGE_COLUMN>},
};
