/* SPDX-License-Identifier: Apache-2.0 */
#include "plot.h"

#include <cairo.h>
#include <math.h>
#include <stdio.h>

enum { kLeft = 70, kRight = 90, kTop = 10, kBottom = 45, kPanelHeight = 180, kGap = 34, kPlotWidth = 900 };

/* A perceptually ordered dark-blue to yellow ramp for v in 0..1. */
static void ramp(double v, double* r, double* g, double* b) {
    static const double stops[5][3] = {{0.08, 0.05, 0.24}, {0.24, 0.16, 0.55}, {0.12, 0.55, 0.55},
                                       {0.47, 0.78, 0.27}, {0.98, 0.90, 0.16}};
    double x = (v < 0 ? 0 : v > 1 ? 1 : v) * 4, f;
    int i = x >= 4 ? 3 : (int)x;
    f = x - i;
    *r = stops[i][0] + f * (stops[i + 1][0] - stops[i][0]);
    *g = stops[i][1] + f * (stops[i + 1][1] - stops[i][1]);
    *b = stops[i][2] + f * (stops[i + 1][2] - stops[i][2]);
}

/* A round step of about a fifth of the span: 1, 2 or 5 times a power of ten. */
static double tickStep(double span) {
    double raw = span / 5, p = pow(10, floor(log10(raw > 0 ? raw : 1)));
    return raw / p < 1.5 ? p : raw / p < 3.5 ? 2 * p : raw / p < 7.5 ? 5 * p : 10 * p;
}

static void text(cairo_t* cr, double x, double y, const char* s, double alignX) {
    cairo_text_extents_t e;
    cairo_text_extents(cr, s, &e);
    cairo_move_to(cr, x - alignX * e.width, y + e.height / 2);
    cairo_show_text(cr, s);
}

static void drawPanel(cairo_t* cr, const ExamplePanel* p, int frames, double shift, double top, int lastPanel) {
    float lo = p->data[0], hi = p->data[0];
    double pixW = (double)kPlotWidth / frames, pixH = (double)kPanelHeight / p->rows, step, v;
    char label[32];
    int t, r, k;
    for (t = 0; t < frames * p->rows; ++t) {
        lo = p->data[t] < lo ? p->data[t] : lo;
        hi = p->data[t] > hi ? p->data[t] : hi;
    }
    if (hi <= lo) hi = lo + 1;
    for (t = 0; t < frames; ++t)
        for (r = 0; r < p->rows; ++r) {
            double cr_, cg, cb;
            ramp((p->data[t * p->rows + r] - lo) / (hi - lo), &cr_, &cg, &cb);
            cairo_set_source_rgb(cr, cr_, cg, cb);
            cairo_rectangle(cr, kLeft + t * pixW, top + kPanelHeight - (r + 1) * pixH, pixW + 0.5, pixH + 0.5);
            cairo_fill(cr);
        }
    cairo_set_source_rgb(cr, 0, 0, 0);
    cairo_set_line_width(cr, 1);
    cairo_rectangle(cr, kLeft, top, kPlotWidth, kPanelHeight);
    cairo_stroke(cr);
    /* Title and y axis. */
    cairo_set_font_size(cr, 13);
    text(cr, kLeft + 4, top - 10, p->title, 0);
    cairo_set_font_size(cr, 10);
    step = tickStep(p->yMax - p->yMin);
    for (v = ceil(p->yMin / step) * step; v <= p->yMax + 1e-9 * step; v += step) {
        double y = top + kPanelHeight - (v - p->yMin) / (p->yMax - p->yMin) * kPanelHeight;
        cairo_move_to(cr, kLeft - 4, y);
        cairo_line_to(cr, kLeft, y);
        cairo_stroke(cr);
        snprintf(label, sizeof label, "%g", v);
        text(cr, kLeft - 7, y, label, 1);
    }
    cairo_save(cr);
    cairo_translate(cr, 18, top + kPanelHeight / 2.0);
    cairo_rotate(cr, -3.14159265358979323846 / 2);
    text(cr, 0, 0, p->yLabel, 0.5);
    cairo_restore(cr);
    /* Time axis under every panel, its label under the last. */
    step = tickStep(frames * shift);
    for (v = 0; v <= frames * shift + 1e-9; v += step) {
        double x = kLeft + v / shift * pixW;
        cairo_move_to(cr, x, top + kPanelHeight);
        cairo_line_to(cr, x, top + kPanelHeight + 4);
        cairo_stroke(cr);
        snprintf(label, sizeof label, "%g", v);
        text(cr, x, top + kPanelHeight + 11, label, 0.5);
    }
    if (lastPanel) text(cr, kLeft + kPlotWidth / 2.0, top + kPanelHeight + 28, "time (s)", 0.5);
    /* Colour scale. */
    for (k = 0; k < kPanelHeight; ++k) {
        double cr_, cg, cb;
        ramp(1.0 - (double)k / kPanelHeight, &cr_, &cg, &cb);
        cairo_set_source_rgb(cr, cr_, cg, cb);
        cairo_rectangle(cr, kLeft + kPlotWidth + 14, top + k, 14, 1.5);
        cairo_fill(cr);
    }
    cairo_set_source_rgb(cr, 0, 0, 0);
    cairo_rectangle(cr, kLeft + kPlotWidth + 14, top, 14, kPanelHeight);
    cairo_stroke(cr);
    snprintf(label, sizeof label, "%.3g", hi);
    text(cr, kLeft + kPlotWidth + 32, top + 4, label, 0);
    snprintf(label, sizeof label, "%.3g", lo);
    text(cr, kLeft + kPlotWidth + 32, top + kPanelHeight - 4, label, 0);
}

int examplePlotPanels(const char* path, const ExamplePanel* panels, int nPanels, int frames,
                      double frameShiftSeconds) {
    int width = kLeft + kPlotWidth + kRight, i;
    int height = kTop + nPanels * (kPanelHeight + kGap) + kBottom;
    cairo_surface_t* s;
    cairo_t* cr;
    cairo_status_t st;
    if (nPanels < 1 || frames < 1 || frameShiftSeconds <= 0) {
        fprintf(stderr, "%s: nothing to plot\n", path);
        return -1;
    }
    s = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    cr = cairo_create(s);
    cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_paint(cr);
    cairo_select_font_face(cr, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    for (i = 0; i < nPanels; ++i)
        drawPanel(cr, &panels[i], frames, frameShiftSeconds, kTop + kGap - 8 + i * (kPanelHeight + kGap),
                  i == nPanels - 1);
    cairo_destroy(cr);
    st = cairo_surface_write_to_png(s, path);
    cairo_surface_destroy(s);
    if (st != CAIRO_STATUS_SUCCESS) {
        fprintf(stderr, "%s: cannot write picture: %s\n", path, cairo_status_to_string(st));
        return -1;
    }
    return 0;
}
