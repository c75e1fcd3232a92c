#include "Style.h"

#include "Theme.h"

namespace {

QString hex(QRgb colour)
{
    return QColor(colour).name();
}

} // namespace

QString windowStyle()
{
    return QStringLiteral(
               "PreviewWindow, QDialog { background: %1; }"
               "QLabel, QComboBox, QPushButton, QMenu, QLineEdit, QPlainTextEdit, QListWidget"
               "  { color: %2; font-size: 13px; }"
               "QLabel#title { font-size: 18px; font-weight: bold; }"
               "QLabel#value { font-size: 22px; }"
               "QLabel#caption, QLabel#subtitle { color: %3; font-size: 11px; }"
               "QLabel#keys { font-family: monospace; }"
               "QLabel#trouble { color: %4; }"
               "QComboBox, ModeSwitch, QMenu, QLineEdit, QPlainTextEdit, QListWidget, QProgressBar"
               "  { background: %5; border: 1px solid %6; border-radius: 6px; }"
               "QComboBox { padding: 6px 12px; }"
               "QComboBox:disabled { color: %3; }"
               "QComboBox::drop-down { border: none; width: 28px; }"
               "QComboBox QAbstractItemView { background: %5; color: %2;"
               "  selection-background-color: %6; }"
               "QLineEdit, QPlainTextEdit, QListWidget { padding: 4px;"
               "  selection-background-color: %6; }"
               "QMenu::item { padding: 6px 24px; }"
               "QMenu::item:selected { background: %6; }"
               "QProgressBar { min-height: 6px; max-height: 6px; border-radius: 4px; }"
               "QProgressBar::chunk { background: %7; border-radius: 3px; }"
               "QPushButton { background: transparent; border: 1px solid transparent;"
               "  border-radius: 4px; padding: 3px 13px; color: %3; }"
               "QPushButton:checked { background: %6; color: %2; }"
               "ServiceMenu, #help, ServiceBar QPushButton, QDialog QPushButton { background: %5;"
               "  border: 1px solid %6; border-radius: 6px; padding: 6px 12px; color: %2; }"
               "ServiceMenu { padding-right: 28px; }"
               "ServiceMenu::menu-indicator { subcontrol-position: right center; right: 10px; }"
               "QDialogButtonBox { dialogbuttonbox-buttons-have-icons: 0; }"
               "QDialog QPushButton:disabled { color: %3; }"
               "QPushButton:focus, ModeSwitch QPushButton:focus, QComboBox:focus,"
               "ServiceMenu:focus, #help:focus, ServiceBar QPushButton:focus,"
               "QDialog QPushButton:focus, QLineEdit:focus, QPlainTextEdit:focus,"
               "QListWidget:focus { border: 1px solid %7; color: %2; }"
               "QToolTip { background: %5; color: %2; border: 1px solid %6; padding: 4px; }")
        .arg(hex(theme::kGround), hex(theme::kText), hex(theme::kQuietText), hex(theme::kMeterHigh),
             hex(theme::kPanel), hex(theme::kLine), hex(theme::kLeft));
}
