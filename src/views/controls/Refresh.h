#pragma once

#include <QWidget>

#include <functional>

namespace lumivert {

class ObservableObject;

// How a tree of widgets follows the model. Builders attach to a widget what brings it up to date;
// one subscription for the whole tree runs all of it once a turn of the event loop, however many
// notifications there were. Nothing runs before keepFresh (or refreshTree) is called.

/// `widget`, shown while `condition` holds.
QWidget* visibleWhen(std::function<bool()> condition, QWidget* widget);

/// `refresh` brings `widget` up to date. It is not called while the widget, or what holds it, is
/// not shown by its conditions; it is called in the refresh that shows it.
void whenRefreshed(QWidget* widget, std::function<void()> refresh);

/// First every condition in the tree below and including `root`, then every refresh of what is
/// shown. Code that runs here must not write to the model.
void refreshTree(QWidget* root);

/// Refreshes the tree now; then, as long as `root` lives, after notifications of `source`: before
/// anything is painted, and before what a person does is handled.
void keepFresh(QWidget* root, const ObservableObject& source);

} // namespace lumivert
