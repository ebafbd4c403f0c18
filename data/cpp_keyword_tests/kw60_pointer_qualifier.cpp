/*
Success:
Position: XXX is a qualifier of a pointer.
*/
int * XXX kw_p;
