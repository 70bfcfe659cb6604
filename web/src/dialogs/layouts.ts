// How each dialog looks: which controls form a group, which share a line, which belong to the choice
// above them. What a control is (its label, kind, range, rule) comes from the module's table alone.
// A control that a layout forgets is still shown, at the end of its tab.

export type Part =
  | string // a control on a line of its own
  | { line: Part[] } // side by side
  | { columns: Part[][] } // columns of parts, of equal width
  | { group: string; parts: Part[] } // a frame with a caption
  | { under: string; parts: Part[] } // a choice, and what belongs to it, indented
  | { text: string } // a caption without a control
  | { matrix: string[]; rows: { label: string; cells: string[] }[] } // fields under headings
  | { lists: string; captions: string[] } // a choice of several lists, each shown under its caption
  | { list: string; rows?: number; data?: boolean } // a control shown as an open list; all of it data
  | { cells: string; edit: string; hint: string; rows: number } // a table whose last column is edited, of so many rows at most
  | { buttons: string[] }; // a row of buttons of equal width

export interface Layout {
  focus?: string; // gets the focus when the dialog opens; otherwise the first control of the tab
  refused?: string[]; // after a refused OK: the first of these that is empty, else the last
  main?: 'beside' | 'above'; // where the controls without a tab stand
  mainParts: Part[];
  tabs: Record<string, Part[]>;
  menu?: { button: string; entries: string[] }; // a button that opens a menu
  hidden?: string[]; // shown by the frame, or in another dialog
}

const hostButtons = ['SelectionConditions', 'CaseWeights'];
// The sample button's own dialog holds these.
const sampleMembers = ['Sample.Variable', 'Sample.Code', 'Sample.Active'];

const roles = [
  'Dépend. continue(s) :',
  'Dépend. catégorielle(s) :',
  'Prédicteurs continus :',
  'Prédicteurs catégoriels :',
];
const codes = ['ResponseCodes', 'PredictorCodes'];
const variables: Part[] = [{ lists: 'Variables', captions: roles }, ...codes];

const sampling = (size: string): Part[] => [
  { under: 'UseRandomSampling', parts: [size, 'SeedForRandomSampling'] },
  { under: 'UseSubsetvariable', parts: [{ line: ['Sample', 'Sample.State'] }] },
  { under: 'UseFirstNCases', parts: ['NValue'] },
];

const missing = (...names: string[]): Part => ({ group: 'Traitement des V&M', parts: names });

const neighbours = (prefix: string, k: string, metric: string[], weighted: string): Part[] => [
  prefix + k,
  { group: 'Mesure de distance', parts: metric.map(name => prefix + name) },
  prefix + 'StandardizeDistances',
  prefix + weighted,
  'Options.Note',
];
const metrics = ['Euclidean', 'SquaredEuclidean', 'CityBlock', 'Chebychev'];

const predictions = (...last: Part[]): Part => ({
  group: 'Prévisions && résidus',
  parts: [
    {
      group: 'Inclure',
      parts: [
        {
          columns: [
            ['IncludeInputs', 'IncludeOutputs'],
            ['IncludePredictions', 'IncludeResiduals', 'IncludeConfidence'],
          ],
        },
      ],
    },
    { buttons: ['PrintPredictions', 'Histograms'] },
    ...last,
  ],
});

const plots = (dependent: string): Part[] => [
  dependent,
  {
    columns: [
      [{ list: 'SelectedItemX', rows: 9 }],
      [{ list: 'SelectedItemsY', rows: 9 }],
      [{ list: 'SelectedItemZ', rows: 9 }],
    ],
  },
  { buttons: ['PlotHistogramsOfX', 'Plot2DGraphOfXAndY', 'Plot3DGraphOfXYZ'] },
  'IncludeCaseNames',
];
const custom: Part[] = ['CustomPredictions', { buttons: ['PrintCustomPredictions'] }];
const subsets: Part = {
  group: 'Sous-ensemble(s)',
  parts: [{ line: ['TrainSubset', 'TestSubset', 'Overall'] }],
};
const subsetsAndSummary: Part = { line: [subsets, 'Summary'] };
const codeMenu = {
  button: 'CodeGenerator',
  entries: ['CodeGeneratorCLang', 'CodeGeneratorQVB', 'CodeGeneratorPMML'],
};
const save: Part = { buttons: ['SavePredictionsAndResiduals'] };

export const layouts: Record<string, Layout> = {
  MachineLearningStartup: {
    focus: 'TypeOfAnalysis',
    mainParts: [],
    tabs: { Base: [{ list: 'TypeOfAnalysis', rows: 4 }] },
    hidden: ['DoubleClick', 'Open', ...hostButtons],
  },

  MachineLearningKNN: {
    focus: 'Variables',
    mainParts: [missing('CasewiseDeletionOfMD', 'MeanSubstitutionOfMD')],
    tabs: {
      Base: variables,
      Prototypes: sampling('SizeOfPrototypeSample'),
      Options: neighbours('', 'KNearestNeighbors', metrics, 'UseWeightedAverage'),
      'Sélection du modèle': [
        {
          under: 'ApplyCrossV',
          parts: [
            'VValue',
            'CrossVSeed',
            { group: 'Recherche de K', parts: ['MinimumK', 'MaximumK', 'DeltaK'] },
          ],
        },
      ],
    },
    hidden: [...hostButtons, ...sampleMembers, 'CodeForPrototypeSample'],
  },

  MachineLearningResultsKNN: {
    focus: 'Summary',
    main: 'above',
    mainParts: [subsetsAndSummary],
    tabs: {
      Base: [{ buttons: ['Model', 'DescriptiveStat', 'CrossVPlot'] }, predictions(), save],
      Tracés: plots('SelectOutputForPlotting'),
      Options: neighbours('Options.', 'KNearestNeighbors', metrics, 'UseWeightedAverage'),
      'Prévisions perso.': custom,
    },
    menu: codeMenu,
  },

  MachineLearningNB: {
    focus: 'Variables',
    mainParts: [
      missing('CasewiseDeletionOfMD', 'MeanSubstitutionOfMD', 'UseMissingCasesIfPossible'),
    ],
    tabs: {
      Base: [
        {
          group: 'Sélectionnez les variables',
          parts: [
            {
              lists: 'Variables',
              captions: [
                'Dépendantes catégorielles :',
                'Indépendantes continues :',
                'Indépendantes catégorielles :',
              ],
            },
          ],
        },
        ...codes,
      ],
      Echantillonnage: ['ApplySampling', ...sampling('SizeOfTrainingSample')],
      Distributions: [
        { buttons: ['InputDistributions'] },
        { list: 'Distributions.List', rows: 8 },
        'Threshold',
      ],
    },
    hidden: [...hostButtons, ...sampleMembers],
  },

  MachineLearningResultsNB: {
    focus: 'Summary',
    main: 'above',
    mainParts: [{ line: [subsets, 'Main.Summary'] }],
    tabs: {
      Base: [{ buttons: ['Summary', 'Model', 'DescriptiveStat'] }, predictions(), save],
      Tracés: plots('SelectOutputForPlotting'),
      'Probas a priori': [
        'SelectedOutputForPriorAssignment',
        'UseDefaultPrior',
        'UseEqualPrior',
        { line: ['UseCustomPrior', 'Priors.Select'] },
        { list: 'Priors.List', rows: 7 },
        'Threshold',
        { buttons: ['Priors.DescriptiveStat', 'Priors.PrintPredictions'] },
      ],
      'Distrib. a posteriori': [
        'OutputForPosteriorPlot',
        'InputForPosteriorPlot',
        'MinimumRange',
        'MaximumRange',
        { buttons: ['FixedIndependents'] },
        { list: 'Posterior.List', rows: 5, data: true },
        { buttons: ['PosteriorSpreadsheet', 'PosteriorPlot'] },
      ],
      'Prévisions perso.': custom,
    },
    menu: codeMenu,
    hidden: ['CrossVPlot'],
  },

  MachineLearningSVM: {
    focus: 'Variables',
    mainParts: [missing('CasewiseDeletionOfMD', 'MeanSubstitutionOfMD')],
    tabs: {
      Base: variables,
      Echantillonnage: ['ApplySampling', ...sampling('SizeOfTrainingSample')],
      SVM: [
        {
          columns: [
            [{ group: 'SVM pour Classification', parts: ['ClassType1', 'ClassType2'] }],
            [{ group: 'SVM pour Régression', parts: ['RegressionType1', 'RegressionType2'] }],
          ],
        },
        'CParameter',
        'EpsilonParameter',
        'NuParameter',
      ],
      Noyau: [
        {
          columns: [
            ['LinearKernel', 'PolyKernel', 'RBFKernel', 'SigmoidKernel'],
            ['Degree', 'Gam', 'Bias'],
          ],
        },
      ],
      'Sélection du modèle': [
        {
          under: 'ApplyCrossV',
          parts: [
            { line: ['VValue', 'CrossVSeed'] },
            {
              group: 'Définir la grille de recherche',
              parts: [
                {
                  matrix: ['Minimum', 'Maximum', 'Incrément'],
                  rows: [
                    { label: 'Capac&ité :', cells: ['MinimumC', 'MaximumC', 'DeltaC'] },
                    {
                      label: 'Epsilo&n :',
                      cells: ['MinimumEpsilon', 'MaximumEpsilon', 'DeltaEpsilon'],
                    },
                    { label: 'N&u :', cells: ['MinimumNu', 'MaximumNu', 'DeltaNu'] },
                  ],
                },
              ],
            },
          ],
        },
      ],
      Apprentissage: [
        'MaxNoOfIterations',
        'StoppingAccuracy',
        'CacheSize',
        'ShrinkData',
        {
          under: 'ScaleInputs',
          parts: [{ line: ['Learning.InputLow', 'Learning.InputHigh'] }],
        },
        {
          under: 'ScaleOutputs',
          parts: [{ line: ['Learning.OutputLow', 'Learning.OutputHigh'] }],
        },
        { under: 'UsePenalty', parts: ['PenaltyList'] },
      ],
    },
    hidden: [
      ...hostButtons,
      ...sampleMembers,
      'UseCrossvalidationSample',
      'AnalysisAndCrossValidationSamples',
      'CodeForLearningSample',
    ],
  },

  MachineLearningResultsSVM: {
    focus: 'Summary',
    main: 'above',
    mainParts: [subsetsAndSummary],
    tabs: {
      Base: [{ buttons: ['Model', 'DescriptiveStat'] }, predictions(), save],
      Tracés: plots('Plot.Dependent'),
      'Prévisions perso.': custom,
      Pénalité: [{ list: 'Penalties.List', rows: 6 }, { buttons: ['ClassPenalty'] }],
    },
    menu: codeMenu,
    hidden: ['CrossVPlot', 'SelectOutputForPlotting'],
  },

  // The cells say the same as the list, which is for macros.
  MachineLearningPenaltySelection: {
    focus: 'Penalties.Table',
    refused: ['Penalties.Table'],
    mainParts: [
      { cells: 'Penalties.Table', edit: 'Penalties.Cell', hint: 'Penalties.Hint', rows: 18 },
    ],
    tabs: {},
    hidden: ['Penalties'],
  },

  // Modal dialogs of the module, which have no interface, by their caption.
  SampleIdentifier: {
    focus: 'Variable',
    refused: ['Variable', 'Code'],
    mainParts: ['Help', 'Variable', 'Code', { line: ['Active', 'Inactive'] }],
    tabs: {},
  },
};
