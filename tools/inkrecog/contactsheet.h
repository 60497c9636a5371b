// A contact sheet: a grid of samples, the ink in grey and what the recogniser made of
// it on top, so a person can see the corner finding and the snapping at a glance.
#ifndef INKRECOG_CONTACTSHEET_H
#define INKRECOG_CONTACTSHEET_H

#include "evaluation.h"

#include <QImage>

// One row per label (in first-seen order), up to perLabel samples spread evenly over
// the label's samples. outcomes[i] belongs to samples[i].
QImage drawContactSheet(
    const QVector<Sample> &samples, const QVector<Outcome> &outcomes, int perLabel);

// Every sample in reading order, `columns` to a row, each captioned with its name and
// answer: the sheet for scribbles whose labels mean little (ink files).
QImage drawGridSheet(const QVector<Sample> &samples, const QVector<Outcome> &outcomes, int columns);

// One scribble on its own, size pixels square, captioned with its name and answer.
QImage drawScribblePicture(const Sample &sample, const Outcome &outcome, int size);

#endif
