#include "host/render/WaveformPlot.h"

#include "host/Error.h"
#include "host/render/TimeAxis.h"
#include "ulk/txt/utf8/utf8.h"

#include <cairo-svg.h>
#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

namespace ulk::host::render {

namespace {

using Surface = std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)>;

constexpr double left = 72; // of the panels, in pixels as all lengths here
constexpr double right = 56;
constexpr double top = 64;
constexpr double bottom = 48;
constexpr double gap = 14;             // between panels
constexpr double max_panel_len = 200;  // height of a panel
constexpr double all_panels_len = 800; // of many channels
constexpr double text_size = 13;
constexpr double title_size = 19;
constexpr double db_per_line = 6;
constexpr double min_ceiling = -60; // dB
constexpr int max_nbr_marks = 13;   // of the time axis

struct Colour {
    double r, g, b, a = 1;
};

constexpr Colour paper = {1, 1, 1};
constexpr Colour panel_colour = {0.965, 0.973, 0.984};
constexpr Colour grid_colour = {0.84, 0.87, 0.91};
constexpr Colour axis_colour = {0.62, 0.67, 0.73};
constexpr Colour text_colour = {0.33, 0.38, 0.44};
constexpr Colour title_colour = {0.10, 0.13, 0.17};
constexpr Colour peak_colour = {0.45, 0.66, 0.93};
constexpr Colour rms_colour = {0.13, 0.37, 0.74};
constexpr Colour clip_colour = {0.86, 0.15, 0.15};

bool has_ending(std::string const& path, char const* ending) {
    return path.ends_with(ending);
}

// cairo takes nothing any more after a text that is no UTF-8.
std::string make_printable(std::string txt) {
    std::wstring decoded;
    bool const valid_flag = txt::utf8::decode_wstring(decoded, txt) == 0;
    for (char& c : txt) {
        auto const byte = static_cast<unsigned char>(c);
        if (byte < ' ' || (byte >= 0x80 && !valid_flag)) {
            c = '?';
        }
    }
    return txt;
}

// What is drawn on, in pixels from the upper left.
class Canvas {
public:
    explicit Canvas(cairo_surface_t* surface)
        : _cairo(cairo_create(surface)) {
        cairo_set_line_width(_cairo, 1);
    }
    Canvas(Canvas const&) = delete;
    Canvas& operator=(Canvas const&) = delete;
    ~Canvas() { cairo_destroy(_cairo); }

    void fill(double x, double y, double w, double h, Colour const& colour) {
        set_colour(colour);
        cairo_rectangle(_cairo, x, y, w, h);
        cairo_fill(_cairo);
    }

    // Rectangles that are filled together.
    void add(double x, double y, double w, double h) { cairo_rectangle(_cairo, x, y, w, h); }
    void fill_added(Colour const& colour) {
        set_colour(colour);
        cairo_fill(_cairo);
    }

    // x is where the text begins (anchor 0) to ends (anchor 1), y its middle.
    void write(std::string const& txt, double x, double y, double anchor, Colour const& colour,
               double size = text_size, bool bold_flag = false) {
        cairo_select_font_face(_cairo, "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                               bold_flag ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
        cairo_set_font_size(_cairo, size);
        cairo_text_extents_t extents;
        cairo_text_extents(_cairo, txt.c_str(), &extents);
        set_colour(colour);
        cairo_move_to(_cairo, x - anchor * extents.x_advance, y + 0.36 * size);
        cairo_show_text(_cairo, txt.c_str());
    }

private:
    void set_colour(Colour const& c) { cairo_set_source_rgba(_cairo, c.r, c.g, c.b, c.a); }

    cairo_t* _cairo;
};

class Painter {
public:
    Painter(Canvas& canvas, Envelope const& envelope)
        : _canvas(canvas)
        , _envelope(envelope)
        , _panel_len(compute_panel_len(envelope))
        , _ceiling(find_ceiling(envelope.find_peak())) {}

    static double compute_width() { return left + WaveformPlot::nbr_columns + right; }
    static double compute_height(Envelope const& envelope) {
        return top + bottom - gap + envelope.get_nbr_chn() * (compute_panel_len(envelope) + gap);
    }

    void paint(std::string const& title, std::string const& note) {
        double const width = compute_width();
        _canvas.fill(0, 0, width, compute_height(_envelope), paper);
        _canvas.write(make_printable(title), left, top / 2, 0, title_colour, title_size, true);
        _canvas.write(make_printable(note), width - right, top / 2, 1, text_colour);
        for (int chn = 0; chn < _envelope.get_nbr_chn(); ++chn) {
            paint_panel(chn);
        }
        paint_time_labels();
    }

private:
    static double compute_panel_len(Envelope const& envelope) {
        return std::floor(std::min(max_panel_len, all_panels_len / envelope.get_nbr_chn()));
    }

    // The level at the panels' edge, dB: so that quiet sounds show as well.
    static double find_ceiling(float peak) {
        double const db = 20 * std::log10(std::max(static_cast<double>(peak), 1e-10));
        return std::max(db_per_line * std::ceil(db / db_per_line - 0.01), min_ceiling);
    }

    double get_panel_y(int chn) const { return top + chn * (_panel_len + gap); }
    double conv_level(double level) const {
        return std::clamp(level / std::pow(10, _ceiling / 20), -1., 1.) * _panel_len / 2;
    }
    double conv_time(double time) const {
        return left + std::floor(time / _envelope.get_duration() * WaveformPlot::nbr_columns);
    }

    void paint_panel(int chn) {
        double const y = get_panel_y(chn);
        _canvas.fill(left, y, WaveformPlot::nbr_columns, _panel_len, panel_colour);
        for (auto const& mark : list_marks()) {
            _canvas.fill(conv_time(mark.time), y, 1, _panel_len, grid_colour);
        }
        double const middle = y + std::floor(_panel_len / 2);
        for (int line = 0; line < 3; ++line) {
            paint_level_line(middle, _ceiling - line * db_per_line);
        }
        _canvas.fill(left, middle, WaveformPlot::nbr_columns, 1, axis_colour);
        paint_wave(chn, middle);
        if (_envelope.get_nbr_chn() > 1) {
            _canvas.write(get_name(chn), WaveformPlot::nbr_columns + left + 14, middle, 0,
                          title_colour, text_size, true);
        }
    }

    void paint_level_line(double middle, double db) {
        double const len = std::floor(conv_level(std::pow(10, db / 20)));
        char label[32];
        std::snprintf(label, sizeof(label), "%+.0f dB", db);
        _canvas.fill(left, middle - len, WaveformPlot::nbr_columns, 1, grid_colour);
        _canvas.fill(left, middle + len, WaveformPlot::nbr_columns, 1, grid_colour);
        if (db == _ceiling || len / 2 >= 0.8 * text_size) { // room up to the next one
            _canvas.write(db == 0 ? "0 dB" : label, left - 10, middle - len, 1, text_colour);
        }
    }

    void paint_wave(int chn, double middle) {
        paint_bars(chn, [=, this](Envelope::Column const& column, double x, double w) {
            add_bar(x, w, middle, column.min, column.max);
        });
        _canvas.fill_added(peak_colour);
        paint_bars(chn, [=, this](Envelope::Column const& column, double x, double w) {
            double const rms = column.get_rms();
            add_bar(x, w, middle, std::max(-rms, static_cast<double>(column.min)),
                    std::min(rms, static_cast<double>(column.max)));
        });
        _canvas.fill_added(rms_colour);
        paint_bars(chn, [=, this](Envelope::Column const& column, double x, double w) {
            if (column.get_peak() > 1) {
                double const x_max = left + WaveformPlot::nbr_columns - 2;
                _canvas.add(std::min(x, x_max), middle - std::floor(_panel_len / 2),
                            std::max(w, 2.), 6);
            }
        });
        _canvas.fill_added(clip_colour);
    }

    // Calls add(column, x, width) for each column.
    template <class F>
    void paint_bars(int chn, F add) {
        auto const& columns = _envelope.use_columns(chn);
        double const step =
            static_cast<double>(WaveformPlot::nbr_columns) / static_cast<double>(columns.size());
        for (std::size_t pos = 0; pos < columns.size(); ++pos) {
            add(columns[pos], left + static_cast<double>(pos) * step, step);
        }
    }

    void add_bar(double x, double w, double middle, double min, double max) {
        double const h = conv_level(max) - conv_level(min);
        if (h > 0) {
            _canvas.add(x, middle - conv_level(max), w, std::max(h, 1.));
        }
    }

    void paint_time_labels() {
        double const y = compute_height(_envelope) - bottom + 18;
        for (auto const& mark : list_marks()) {
            _canvas.write(mark.label, conv_time(mark.time), y, 0.5, text_colour);
        }
    }

    std::vector<TimeAxis::Mark> list_marks() const {
        return TimeAxis::make_marks(_envelope.get_duration(), max_nbr_marks);
    }

    std::string get_name(int chn) const {
        return _envelope.get_nbr_chn() == 2 ? (chn == 0 ? "L" : "R") : std::to_string(chn + 1);
    }

    Canvas& _canvas;
    Envelope const& _envelope;
    double _panel_len;
    double _ceiling;
};

} // namespace

void WaveformPlot::check_path(std::string const& path) {
    if (!has_ending(path, ".png") && !has_ending(path, ".svg")) {
        throw Error(Error::Kind_USE, path + ": give the picture a name that ends in .png or .svg");
    }
}

void WaveformPlot::save(std::string const& path, Envelope const& envelope, std::string const& title,
                        std::string const& note) {
    check_path(path);
    double const width = Painter::compute_width();
    double const height = Painter::compute_height(envelope);
    bool const svg_flag = has_ending(path, ".svg");
    Surface const surface(svg_flag ? cairo_svg_surface_create(path.c_str(), width, height)
                                   : cairo_image_surface_create(CAIRO_FORMAT_RGB24,
                                                                static_cast<int>(width),
                                                                static_cast<int>(height)),
                          &cairo_surface_destroy);
    {
        Canvas canvas(surface.get());
        Painter(canvas, envelope).paint(title, note);
    }
    cairo_status_t status = cairo_surface_status(surface.get());
    if (status == CAIRO_STATUS_SUCCESS && !svg_flag) {
        status = cairo_surface_write_to_png(surface.get(), path.c_str());
    }
    cairo_surface_finish(surface.get());
    if (status == CAIRO_STATUS_SUCCESS) {
        status = cairo_surface_status(surface.get());
    }
    if (status != CAIRO_STATUS_SUCCESS) {
        throw Error(Error::Kind_IO,
                    path + ": the picture cannot be written: " + cairo_status_to_string(status));
    }
}

} // namespace ulk::host::render
