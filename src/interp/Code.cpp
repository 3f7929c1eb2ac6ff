#include "interp/Code.h"

#include "base/Numbers.h"
#include "interp/ProgramState.h"
#include "interp/Run.h"
#include "model/Values.h"

Truth Code::test(Run &run) const
{
    const Number seen = number(run);
    if (!seen.ok) {
        return Truth::Failed;
    }
    return integerPart(seen.value) != 0 ? Truth::Yes : Truth::No;
}

void Code::appendTo(QByteArray &bytes, Run &run) const
{
    ValueRef hold;
    QByteArray own;
    const std::string_view seen = bytesOf(view(run, hold), own);
    bytes.append(seen.data(), static_cast<int>(seen.size()));
}

ValueView NumberCode::view(Run &run, ValueRef &) const
{
    return ValueView::ofNumber(compute(run), DoubleType);
}

void storeChanged(Run &run, const Code &changed)
{
    if (const BasicType *variable = changed.variable(run); variable && variable->storageClass() != Volatile) {
        run.state().storage().saveVariable(*variable);
    }
}

ValueRef freshValue(const ValueView &seen, const ValueRef &hold)
{
    return hold && seen.object == hold.get() ? hold : seen.toValue();
}
