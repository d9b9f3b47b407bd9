#pragma once
// Which names may be typed.
#include <QValidator>
#include <QVariant>

/// Refuses, while typing, what cannot be the name of a folder or file on the phone. Any thread.
class SFolderNameFormatter : public QValidator {
  Q_OBJECT
public:
  /// How many UTF-16 units a typed name may have.
  static constexpr qsizetype kLongest = 98;

  explicit SFolderNameFormatter(QObject* parent = nullptr);

  /// The text that shows (and edits) an object value: the value as text.
  static QString stringForObjectValue(const QVariant& object);
  /// The object value of a text: the text as it is, whatever it holds; never null.
  static QString objectValueForString(const QString& text);
  /// Whether `partial` may stand in the field: empty, or not beginning with ".", at most kLongest long and without any
  /// of / * " : ? \ | < >.
  static bool isPartialStringValid(const QString& partial);

  State validate(QString& input, int& position) const override;
};
