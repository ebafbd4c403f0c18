/*
Success:0
Position: XXX is a null pointer constant.
*/
int *kw_p = XXX;
void kw_g(int *);
void kw_h() { kw_g(XXX); }
