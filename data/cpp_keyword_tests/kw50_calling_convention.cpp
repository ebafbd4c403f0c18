/*
Success:
Position: XXX is a calling convention, before a function name and inside a function pointer declarator.
*/
int XXX kw_f(int kw_a);
int (XXX *kw_fp)(int);
