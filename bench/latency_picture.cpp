#include "latency_picture.h"

#include <QImage>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

#include "bench_stats.h"

namespace bench {
namespace {

constexpr int picture_width = 960;
constexpr int picture_height = 500;
constexpr double bin_us = 25.0;
const QRectF plot(70.0, 80.0, 860.0, 290.0);
const QColor colours[] = {QColor(0x19, 0x76, 0xd2), QColor(0xef, 0x6c, 0x00)};

QString number(double value) {
    return QString::number(value, 'f', value < 100.0 ? 1 : 0);
}

// The share of the sample in each bin; the last bin holds all beyond the axis.
std::vector<double> histogram(const std::vector<double>& values, std::size_t bins) {
    std::vector<double> shares(bins, 0.0);
    for (const double value : values) {
        const auto bin = static_cast<std::size_t>(std::max(0.0, value / bin_us));
        shares[std::min(bin, bins - 1)] += 100.0 / static_cast<double>(values.size());
    }
    return shares;
}

class Drawing {
public:
    Drawing(QPainter& painter, double axis_us, double top_share)
        : painter_(painter), axis_us_(axis_us), top_share_(top_share) {}

    QPointF at(double us, double share) const {
        return {plot.left() + plot.width() * us / axis_us_,
                plot.bottom() - plot.height() * share / top_share_};
    }

    void axes() {
        painter_.setPen(QPen(QColor(0x9e, 0x9e, 0x9e), 1.0));
        painter_.drawLine(plot.bottomLeft(), plot.bottomRight());
        painter_.drawLine(plot.bottomLeft(), plot.topLeft());
        const double step = axis_us_ > 1500.0 ? 500.0 : 250.0;
        for (double us = 0.0; us <= axis_us_ + 0.5; us += step) {
            const QPointF tick = at(us, 0.0);
            painter_.drawLine(tick, tick + QPointF(0.0, 5.0));
            painter_.drawText(QRectF(tick.x() - 40.0, tick.y() + 6.0, 80.0, 18.0), Qt::AlignCenter,
                              QString::number(us, 'f', 0));
        }
        painter_.drawText(QRectF(plot.left(), plot.bottom() + 24.0, plot.width(), 18.0),
                          Qt::AlignCenter,
                          QStringLiteral("press to event, µs (bins of %1 µs)").arg(bin_us));
        painter_.drawText(QRectF(6.0, plot.top() - 40.0, plot.left() + 40.0, 18.0),
                          Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("share of presses"));
        for (int share = 0; share <= static_cast<int>(top_share_); share += 2) {
            const QPointF tick = at(0.0, share);
            painter_.drawText(QRectF(tick.x() - 46.0, tick.y() - 9.0, 40.0, 18.0),
                              Qt::AlignRight | Qt::AlignVCenter, QStringLiteral("%1 %").arg(share));
        }
    }

    void distribution(const std::vector<double>& shares, const QColor& colour) {
        QPainterPath outline(at(0.0, 0.0));
        for (std::size_t bin = 0; bin < shares.size(); ++bin) {
            const double from = static_cast<double>(bin) * bin_us;
            outline.lineTo(at(from, shares[bin]));
            outline.lineTo(at(from + bin_us, shares[bin]));
        }
        outline.lineTo(at(static_cast<double>(shares.size()) * bin_us, 0.0));
        QColor fill = colour;
        fill.setAlpha(50);
        painter_.setPen(QPen(colour, 1.5));
        painter_.setBrush(fill);
        painter_.drawPath(outline);
        painter_.setBrush(Qt::NoBrush);
    }

    // A line at `us` across the plot, labelled above it in row `row`.
    void mark(double us, const QString& label, const QColor& colour, Qt::PenStyle style, int row) {
        const QPointF foot = at(std::min(us, axis_us_), 0.0);
        painter_.setPen(QPen(colour, 2.0, style));
        painter_.drawLine(foot, QPointF(foot.x(), plot.top() - 4.0 - 16.0 * row));
        painter_.drawText(QRectF(foot.x() + 3.0, plot.top() - 20.0 - 16.0 * row, 200.0, 16.0),
                          Qt::AlignLeft | Qt::AlignVCenter, label);
    }

private:
    QPainter& painter_;
    double axis_us_;
    double top_share_;
};

}  // namespace

bool draw_latency_picture(const std::vector<LatencySample>& samples, const std::string& note,
                          const std::string& path) {
    double highest_p99 = 0.0;
    for (const LatencySample& sample : samples)
        highest_p99 = std::max(highest_p99, percentile(sample.latencies_us, 0.99));
    const double axis_us = std::max(500.0, std::ceil(highest_p99 * 1.15 / 250.0) * 250.0);
    const auto bins = static_cast<std::size_t>(axis_us / bin_us);
    std::vector<std::vector<double>> shares;
    double top_share = 2.0;
    for (const LatencySample& sample : samples) {
        shares.push_back(histogram(sample.latencies_us, bins));
        for (const double share : shares.back())
            top_share = std::max(top_share, std::ceil(share / 2.0) * 2.0);
    }

    QImage image(picture_width, picture_height, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QFont font = painter.font();
    font.setPixelSize(13);
    painter.setFont(font);
    Drawing drawing(painter, axis_us, top_share);
    drawing.axes();
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const LatencySample& sample = samples[i];
        const QColor& colour = colours[i % std::size(colours)];
        drawing.distribution(shares[i], colour);
        const double median_us = median(sample.latencies_us);
        const double p99_us = percentile(sample.latencies_us, 0.99);
        const int row = static_cast<int>(i);
        drawing.mark(median_us, QStringLiteral("median %1").arg(number(median_us)), colour,
                     Qt::DashLine, row);
        drawing.mark(p99_us, QStringLiteral("p99 %1").arg(number(p99_us)), colour, Qt::DotLine,
                     row);
        const double legend = plot.bottom() + 52.0 + 20.0 * row;
        painter.fillRect(QRectF(plot.left(), legend + 4.0, 24.0, 10.0), colour);
        painter.setPen(colour);
        painter.drawText(
            QRectF(plot.left() + 32.0, legend, plot.width() - 32.0, 18.0),
            Qt::AlignLeft | Qt::AlignVCenter,
            QStringLiteral("%1: median %2 µs, p99 %3 µs, %4 presses")
                .arg(QString::fromStdString(sample.name), number(median_us), number(p99_us))
                .arg(sample.latencies_us.size()));
    }
    font.setBold(true);
    painter.setFont(font);
    painter.setPen(Qt::black);
    painter.drawText(QRectF(plot.left(), 8.0, plot.width(), 20.0), Qt::AlignLeft,
                     QStringLiteral("Press → event latency at update rate 1000, the last bin "
                                    "holding all beyond the axis"));
    font.setBold(false);
    painter.setFont(font);
    painter.setPen(QColor(0x61, 0x61, 0x61));
    painter.drawText(QRectF(plot.left(), picture_height - 24.0, plot.width(), 18.0), Qt::AlignLeft,
                     QString::fromStdString(note));
    painter.end();
    return image.save(QString::fromStdString(path), "PNG");
}

}  // namespace bench
