#pragma once
#include "interp/Code.h"

#include <vector>

class Preparer;
class StatementList;

/// Statements in order, together with the variables that stand at their head; those end with the block.
std::unique_ptr<Step> prepareBlock(const StatementList &list, Preparer &preparer);

std::unique_ptr<Step> makeListStep(std::vector<std::unique_ptr<Step>> steps);
std::unique_ptr<Step> makeNothingStep();
