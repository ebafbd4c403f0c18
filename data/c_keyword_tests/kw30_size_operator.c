/*
Success:sizeof
Position: XXX is an operator with a parenthesised type or expression operand that yields a size.
*/
static int kw_v;
unsigned long kw_n1 = XXX(int);
unsigned long kw_n2 = XXX(kw_v);
