#include "frame/string_builders.h"
#include "frame/transform.h"
#include "functions.h"
#include "markup/sql.h"

namespace kzv {

REALstringStruct *DecodingFromMySQL(REALstringStruct *s) {
  return TransformBytes(s, kEncodingBytes, kOneByteEach, sql::decode_mysql, sql::is_unchanged);
}

REALstringStruct *SQLReplaceBoolean(REALstringStruct *sql) {
  AsciiStringHandle rewritten(kEncodingUTF8);
  Read<rbText>({sql}, [&](rbText &argument) {
    const ByteView text = argument.ascii();
    rewritten.Create(std::uint64_t{text.size()} + 10);
    rewritten.AddInPlace([text](ByteBuffer output) { return sql::replace_booleans(text, output); });
  });
  return rewritten.Finish();
}

}  // namespace kzv
