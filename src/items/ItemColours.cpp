#include "items/ItemColours.h"

uint32_t HighlightColour(uint32_t itemFlags, const HighlightChoice& choice) {
  for (int i = 0; i < kHighlightCategoryCount; ++i) {
    if (choice.enabled[i] && (itemFlags & kHighlightCategoryFlags[i]) != 0) return choice.colours[i];
  }
  return kListDefaultColour;
}

RowColours ItemRowColours(uint32_t itemFlags, const HighlightChoice& choice, uint32_t detailColour) {
  RowColours colours;
  colours.name = HighlightColour(itemFlags, choice);
  colours.details = choice.fullRow ? colours.name : detailColour;
  return colours;
}
