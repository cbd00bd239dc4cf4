#include "skin/model/SkinTemplates.h"

#include <cstring>

namespace {

struct Pair {
  const char* name;
  const char* value;
};

const Pair kButton[] = {
    {"action", "button_template"}, {"graphics_mode", "1"}, {"width", "100"}, {"height", "10"},
    {"posx", "0"}, {"posy", "0"}, {"isswitch", "yes"}, {"showlabel", "yes"}, {"fontcolor", "#AAAAAA"},
    {"fontcolorpressed", "#FFFFFF"}, {"fontcolorswitched", "#FFFFFF"}, {"fontsize", "3"},
    {"fontalign", "center"}, {"backcolor", "#333333"}, {"backcolorover", "#606060"},
    {"backcolordown", "#333333"}, {"backcolorsel", "#FF583F"}, {"backcoloroversel", "#FF381F"},
    {"backcolordownsel", "#FF583F"}, {nullptr, nullptr}};

const Pair kSlider[] = {
    {"action", "slider_template"}, {"graphics_mode", "1"}, {"width", "100"}, {"height", "10"},
    {"posx", "0"}, {"posy", "0"}, {"cursorwidth", "10"}, {"cursorheight", "10"},
    {"backcolor", "#333333"}, {"backcolorover", "#444444"}, {"slidercolor", "#AAAAAA"},
    {"slidercolorover", "#FF583F"}, {nullptr, nullptr}};

const Pair kTextArea[] = {
    {"action", "textarea_template"}, {"graphics_mode", "1"}, {"width", "100"}, {"height", "10"},
    {"posx", "0"}, {"posy", "0"}, {"fontcolor", "#888888"}, {"fontname", "small"}, {"fontsize", "3"},
    {"fontstyle", "normal"}, {"fontalign", "center"}, {"backcolor", "#111111"}, {"transparent", "no"},
    {"bordervisible", "no"}, {nullptr, nullptr}};

const Pair* const kTables[kTemplateCount] = {kButton, kSlider, kTextArea};
const char* const kActions[kTemplateCount] = {"button_template", "slider_template", "textarea_template"};

}  // namespace

const char* TemplateActionName(int kind) { return kind >= 0 && kind < kTemplateCount ? kActions[kind] : ""; }

int TemplateKindOfAction(const char* action) {
  for (int kind = 0; kind < kTemplateCount; ++kind) {
    if (action && std::strcmp(action, kActions[kind]) == 0) return kind;
  }
  return -1;
}

SkinAttributeList DefaultTemplate(int kind) {
  SkinAttributeList list;
  if (kind < 0 || kind >= kTemplateCount) return list;
  for (const Pair* p = kTables[kind]; p->name; ++p) list.Add(p->name, p->value);
  return list;
}
