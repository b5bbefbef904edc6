#include "Kestrum/General/LanguageSection.h"

#include "Kestrum/Form/Rows.h"
#include "KestrumShared/Text/AppLanguage.h"

namespace kestrum {

namespace {

/// Each language by its own name: who does not read the present one finds theirs.
QList<Choice<QString>> languages()
{
    QList<Choice<QString>> choices { { QLatin1StringView(AppLanguage::systemChoice),
        AppLanguage::string("System") } };
    for (const auto& [code, name] : AppLanguage::available())
        choices.append({ code, name });
    return choices;
}

} // namespace

LanguageSection::LanguageSection()
    : Card({ Form::picker<QString>("Language", Setting { Keys::language }, languages()) })
{
}

} // namespace kestrum
