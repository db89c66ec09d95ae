/* SPDX-License-Identifier: Apache-2.0 */
/* Pictures of the example programs, drawn with Cairo: stacked heat maps of
   per-frame values with a time axis in seconds, labelled panels and a colour
   scale beside each panel. */
#ifndef ZELSR_EXAMPLES_PLOT_H
#define ZELSR_EXAMPLES_PLOT_H

typedef struct ExamplePanel {
    const char* title;   /* panel label */
    const float* data;   /* frames x rows, row-major: data[t * rows + r] */
    int rows;            /* values per frame, drawn from the bottom (r = 0) up */
    const char* yLabel;  /* unit of the y axis, e.g. "Hz" */
    float yMin, yMax;    /* values of the y axis at the bottom and top */
} ExamplePanel;

/* Stacked heat maps with a time axis in seconds and a colour bar each, written
   as PNG. Each panel's colours span its own range of values. Returns 0 on
   success, -1 after printing why to stderr. */
int examplePlotPanels(const char* path, const ExamplePanel* panels, int nPanels, int frames,
                      double frameShiftSeconds);

#endif
