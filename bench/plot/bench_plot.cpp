// Draws a grouped bar chart as SVG.
// Usage: bench_plot title unit [--log] < table > chart.svg
// Table: a first line "- series1 series2 ...", then "group value1 value2 ...", blank-separated;
// '_' stands for a blank and '-' for a missing value.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct Group {
    std::string name;
    std::vector<double> values;  // negative: missing
};

struct Chart {
    std::string title, unit;
    bool log = false;
    std::vector<std::string> series;
    std::vector<Group> groups;
};

constexpr double kLeft = 70, kTop = 60, kPlotWidth = 620, kPlotHeight = 260;
constexpr double kWidth = kLeft + kPlotWidth + 20, kHeight = kTop + kPlotHeight + 50;
constexpr const char* kColours[] = {"#2f6fb3", "#d9822b", "#4c9a5b", "#8a5aa8", "#777777"};

std::string Blanks(std::string text) {
    std::replace(text.begin(), text.end(), '_', ' ');
    return text;
}

Chart ReadTable(std::istream& in) {
    Chart chart;
    std::string line, word;
    while (std::getline(in, line)) {
        std::istringstream words(line);
        if (!(words >> word)) continue;
        if (chart.series.empty()) {
            while (words >> word)
                chart.series.push_back(Blanks(word));
            continue;
        }
        Group group{Blanks(word), {}};
        while (words >> word)
            group.values.push_back(word == "-" ? -1 : std::stod(word));
        group.values.resize(chart.series.size(), -1);
        chart.groups.push_back(group);
    }
    return chart;
}

// Maps values to heights: linear from 0, or logarithmic from the decade below the smallest.
class Scale {
  public:
    explicit Scale(const Chart& chart) : m_log(chart.log) {
        double smallest = 1e300;
        for (const Group& group : chart.groups) {
            for (const double value : group.values) {
                m_top = std::max(m_top, value);
                if (value > 0) smallest = std::min(smallest, value);
            }
        }
        if (m_top <= 0) m_top = smallest = 1;
        if (m_log) {
            m_bottom = std::pow(10, std::floor(std::log10(smallest) - 0.01));
            m_top = std::pow(10, std::ceil(std::log10(m_top)));
        } else {
            m_step = NiceStep(m_top);
            m_top = std::ceil(m_top / m_step) * m_step;
        }
    }
    double Height(double value) const {
        const double share =
            m_log ? std::log10(std::max(value, m_bottom) / m_bottom) / std::log10(m_top / m_bottom)
                  : value / m_top;
        return share * kPlotHeight;
    }
    std::vector<double> Ticks() const {
        std::vector<double> ticks;
        if (m_log) {
            double tick = m_bottom;
            while (tick <= m_top * 1.01) {
                ticks.push_back(tick);
                tick *= 10;
            }
        } else {
            for (int i = 0; i * m_step <= m_top * 1.01; ++i)
                ticks.push_back(i * m_step);
        }
        return ticks;
    }

  private:
    static double NiceStep(double top) {
        const double decade = std::pow(10, std::floor(std::log10(top)));
        for (const double part : {0.1, 0.2, 0.5, 1.0}) {
            if (top / (decade * part) <= 6) return decade * part;
        }
        return 2 * decade;
    }

    bool m_log;
    double m_top = 0, m_bottom = 0, m_step = 1;
};

void Text(double x, double y, const char* anchor, const std::string& text, int size = 12) {
    std::printf("<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"%s\" font-size=\"%d\">%s</text>\n", x, y,
                anchor, size, text.c_str());
}

void DrawAxes(const Chart& chart, const Scale& scale) {
    const double bottom = kTop + kPlotHeight;
    for (const double tick : scale.Ticks()) {
        const double y = bottom - scale.Height(tick);
        std::printf("<path d=\"M%.1f %.1fH%.1f\" stroke=\"#ddd\"/>\n", kLeft, y,
                    kLeft + kPlotWidth);
        char label[32];
        std::snprintf(label, sizeof(label), "%g", tick);
        Text(kLeft - 6, y + 4, "end", label);
    }
    Text(kLeft, 20, "start", chart.title, 15);
    Text(kLeft - 50, kTop - 10, "start", chart.unit);
}

void DrawLegend(const Chart& chart) {
    double x = kLeft + 90;
    for (size_t i = 0; i < chart.series.size(); ++i) {
        std::printf("<rect x=\"%.1f\" y=\"32\" width=\"12\" height=\"12\" fill=\"%s\"/>\n", x,
                    kColours[i % std::size(kColours)]);
        Text(x + 16, 42, "start", chart.series[i]);
        x += 40 + 7.5 * static_cast<double>(chart.series[i].size());
    }
}

void DrawBars(const Chart& chart, const Scale& scale) {
    const double groupWidth = kPlotWidth / static_cast<double>(chart.groups.size());
    const double barWidth =
        std::min(60.0, groupWidth * 0.8 / static_cast<double>(chart.series.size()));
    const double bottom = kTop + kPlotHeight;
    for (size_t g = 0; g < chart.groups.size(); ++g) {
        const Group& group = chart.groups[g];
        const double middle = kLeft + groupWidth * (static_cast<double>(g) + 0.5);
        const double left = middle - barWidth * static_cast<double>(chart.series.size()) / 2;
        for (size_t i = 0; i < group.values.size(); ++i) {
            if (group.values[i] < 0) continue;
            const double x = left + barWidth * static_cast<double>(i);
            const double height = std::max(0.5, scale.Height(group.values[i]));
            std::printf(
                "<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\" fill=\"%s\"/>\n", x + 1,
                bottom - height, barWidth - 2, height, kColours[i % std::size(kColours)]);
            char label[32];
            std::snprintf(label, sizeof(label), "%.3g", group.values[i]);
            Text(x + barWidth / 2, bottom - height - 3, "middle", label, 10);
        }
        Text(middle, bottom + 18, "middle", group.name);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) return std::fprintf(stderr, "usage: bench_plot title unit [--log]\n"), 2;
    Chart chart = ReadTable(std::cin);
    if (chart.groups.empty()) return std::fprintf(stderr, "bench_plot: no table\n"), 1;
    chart.title = argv[1];
    chart.unit = argv[2];
    chart.log = argc > 3 && std::string(argv[3]) == "--log";
    const Scale scale(chart);
    std::printf(
        "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %g %g\" "
        "font-family=\"sans-serif\" fill=\"#222\">\n"
        "<rect width=\"100%%\" height=\"100%%\" fill=\"#fff\"/>\n",
        kWidth, kHeight);
    DrawAxes(chart, scale);
    DrawLegend(chart);
    DrawBars(chart, scale);
    std::printf("</svg>\n");
    return 0;
}
