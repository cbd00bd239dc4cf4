#pragma once
// The looks of the controls the program builds at run time (effect parameter panels, sampler
// panels). A skin may give its own; a skin that does not gets these defaults at the end of a load.

#include "skin/model/SkinAttributeList.h"

enum TemplateKind : int { kButtonTemplate = 0, kSliderTemplate = 1, kTextAreaTemplate = 2, kTemplateCount = 3 };

// The reserved action naming the template; "" for other kinds.
const char* TemplateActionName(int kind);
// -1 when `action` names no template.
int TemplateKindOfAction(const char* action);
SkinAttributeList DefaultTemplate(int kind);
