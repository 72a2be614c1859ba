#include "markup/sql_functions.h"

#include "frame/string_builders.h"
#include "frame/transform.h"
#include "markup/sql.h"

namespace kzv {

REALstringStruct *DecodingFromMySQL(REALstringStruct *s) {
  return TransformBytes(s, kEncodingBytes, kOneByteEach, sql::decode_mysql);
}

REALstringStruct *SQLReplaceBoolean(REALstringStruct *sql) {
  AsciiStringHandle rewritten(kEncodingUTF8);
  {
    rbText argument(sql);
    const ByteView text = argument.ascii();
    if (text.empty() || !rewritten.Create(std::uint64_t{text.size()} + 10)) return nullptr;
    rewritten.AddInPlace([text](ByteBuffer room) { return sql::replace_booleans(text, room); });
  }
  return rewritten.Finish();
}

}  // namespace kzv
