/*
Success:decl
Position: XXX is a register or variable the compiler declares itself: read and assigned without a declaration.
*/
void kw_f() { int kw_r = XXX; XXX = kw_r + 1; }
