-- The nearest-neighbours script of the benchmark as a Lua programmer would write it: the same loops,
-- functions and tables, all names local. The prototypes stand before this text.
local NoContInputs, NoCatInputs, NoInputs, NoContOutputs, NoCatOutputs = 2, 1, 3, 1, 1
local Metric, NoOfNearestK, Weighted = 0, 3, true
local InputShift, InputScale = { -0.5, -1, 0 }, { 0.25, 0.04, 1 }
local NoOutputNominals, OutputNominals = { 3 }, { { 13, 11, 12 } }
local Inputs, ScaledInputs, ScaledInputPrototype = {}, {}, {}
local KIndex, KWeights, Predictions, Confidence = {}, {}, {}, { {} }
local abs, sqrt, exp = math.abs, math.sqrt, math.exp

local function Scale(Vector)
  for i = 1, NoContInputs do Vector[i] = InputShift[i] + InputScale[i] * Vector[i] end
end

local function Difference(Value, Proto, IsCat)
  if IsCat == 0 then return Value - Proto end
  if Value == Proto then return 0 end
  return 1
end

local function Distance(Values, Prototype)
  local distance = 0
  for i = 1, NoContInputs do
    local Diff = Difference(Values[i], Prototype[i], 0)
    if Metric < 2 then
      distance = distance + Diff * Diff
    elseif Metric == 2 then
      distance = distance + abs(Diff)
    elseif abs(Diff) > distance then
      distance = abs(Diff)
    end
  end
  for i = 1, NoCatInputs do
    local Diff = Difference(Values[i + NoContInputs], Prototype[i + NoContInputs], 1)
    if Metric < 2 then
      distance = distance + Diff * Diff
    elseif Metric == 2 then
      distance = distance + abs(Diff)
    elseif abs(Diff) > distance then
      distance = abs(Diff)
    end
  end
  if Metric == 0 then distance = sqrt(distance) end
  return distance
end

local function FindKNearest()
  for i = 1, NoOfNearestK do KIndex[i] = -1 end
  for i = 1, NoInputs do ScaledInputs[i] = Inputs[i] end
  Scale(ScaledInputs)
  for i = 1, NoOfNearestK do
    local MinDist = 1.7976931348623158e+308
    for j = 1, NoOfPrototypes do
      for k = 1, i do
        if j == KIndex[k] then goto NEXTK end
      end
      for k = 1, NoInputs do ScaledInputPrototype[k] = InputPrototypes[j][k] end
      Scale(ScaledInputPrototype)
      do
        local Dist = Distance(ScaledInputs, ScaledInputPrototype)
        if Dist < MinDist then
          MinDist = Dist
          KIndex[i] = j
        end
      end
      ::NEXTK::
    end
    if Weighted then KWeights[i] = exp(-MinDist) else KWeights[i] = 1 end
  end
  if Weighted then
    local Norm = 0
    for i = 1, NoOfNearestK do Norm = Norm + KWeights[i] end
    if Norm ~= 0 then
      for i = 1, NoOfNearestK do KWeights[i] = KWeights[i] / Norm end
    end
  end
end

local function Predict()
  FindKNearest()
  for i = 1, NoContOutputs do
    Predictions[i] = 0
    for j = 1, NoOfNearestK do
      Predictions[i] = Predictions[i] + KWeights[j] * OutputPrototypes[KIndex[j]][i]
    end
  end
  for i = 1, NoCatOutputs do
    local output = i + NoContOutputs
    for j = 1, NoOutputNominals[i] do Confidence[i][j] = 0 end
    for j = 1, NoOutputNominals[i] do
      for k = 1, NoOfNearestK do
        if OutputNominals[i][j] == OutputPrototypes[KIndex[k]][output] then
          Confidence[i][j] = Confidence[i][j] + KWeights[k]
        end
      end
    end
    local MaxConf = -1
    for j = 1, NoOutputNominals[i] do
      if MaxConf < Confidence[i][j] then
        Predictions[output] = OutputNominals[i][j]
        MaxConf = Confidence[i][j]
      end
    end
  end
end

-- The cases, numbered as in the benchmark's table.
local sum = 0
for case = 1, NumberOfCases do
  for k = 1, NoContInputs do Inputs[k] = (case * 7919 % 1000) / 77 + k end
  Inputs[3] = 1 + case % 2
  Predict()
  sum = sum + Predictions[1] + Predictions[2]
end
print(string.format("%.9g", sum))
