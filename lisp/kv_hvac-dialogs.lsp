;;; The application layer behind the data dialogs: the replacement of a deleted diffuser block,
;;; and the Project Explorer's queries of a device and of a schedule row.

;; The first value of COLUMN in the rows of SQL on the current project, or nil.
(defun dialogs-first (sql column / file)
  (if (setq file (projectdb-currentFile))
    (car (kvdb-query file sql column))))

;; The values of COLUMN in the rows of SQL on the current project, ordered by SORTCOLUMN.
(defun dialogs-values (sql column sortColumn / file)
  (if (setq file (projectdb-currentFile))
    (kvdb-query file sql column sortColumn)))

;; A number as text without a needless fraction.
(defun dialogs-number (x)
  (cond ((null x) "")
        ((eq (type x) 'INT) (itoa x))
        ((= x (fix x)) (itoa (fix x)))
        (T (rtos x 2 2))))

;; Deletes diffuser block IXDWGDIFF of APP and KIND ("hvac" "Diff"): answers the point
;; (IXDWGDIFF replacement), where the replacement takes the schedule rows that use the block,
;; those of blocks already replaced by it in PAIRS included. An unused block answers 0 as its
;; replacement. The replacement is the first remaining block of the same type in the dialog's
;; order, else the first remaining block; blocks named first in PAIRS are gone already. With
;; the block in use and nothing left to take its place, the deletion is refused (nil).
(defun util-deleteBlocks (ixDwgDiff app kind pairs / gone users candidates new)
  (if (and (= app "hvac") (= kind "Diff") (projectdb-currentFile))
    (progn
      (setq gone (cons ixDwgDiff (mapcar 'car pairs)))
      (setq users
        (+ (length (dialogs-values (strcat "select ixDiffS from tblDiffS where ixDwgDiff = " (itoa ixDwgDiff))
                                   "ixDiffS" "ixDiffS"))
           (length (vl-remove-if-not '(lambda (p) (= (cadr p) ixDwgDiff)) pairs))))
      (setq candidates
        (vl-remove-if '(lambda (ix) (member ix gone))
          (append
            (dialogs-values (strcat "select ixDwgDiff, iSortOrder from tblDwgDiff where iBlockType = "
                                    "(select iBlockType from tblDwgDiff where ixDwgDiff = " (itoa ixDwgDiff) ")")
                            "ixDwgDiff" "iSortOrder")
            (dialogs-values "select ixDwgDiff, iSortOrder from tblDwgDiff" "ixDwgDiff" "iSortOrder"))))
      (cond
        ((= users 0) (list ixDwgDiff 0))
        ((setq new (car candidates))
         (princ (strcat "\nDiffuser block \"" (dialogs-blockName ixDwgDiff) "\" is used by " (itoa users)
                        " schedule row(s); they move to \"" (dialogs-blockName new) "\" when the dialog is confirmed."))
         (list ixDwgDiff new))
        (T
         (princ (strcat "\nDiffuser block \"" (dialogs-blockName ixDwgDiff)
                        "\" is in use and no other block can take its place."))
         nil)))))

(defun dialogs-blockName (ix)
  (dialogs-first (strcat "select sDescription from tblDwgDiff where ixDwgDiff = " (itoa ix)) "sDescription"))

;; Prints what the project holds of the device IXLIST: a duct (DEVTYPE 1) or a placed
;; diffuser (DEVTYPE 2), with its drawing. Nothing for an index the project does not hold.
(defun projectExplorer-query-HVAC (ixList devType / where)
  (cond
    ((and (= devType 1)
          (setq where (strcat " from tblDuct where ixDuct = " (itoa ixList)))
          (dialogs-first (strcat "select ixDuct" where) "ixDuct"))
     (princ (strcat "\nDuct " (itoa ixList) " on " (dialogs-first (strcat "select DRAWING" where) "DRAWING")
                    ": " (dialogs-first (strcat "select AIRFLOW" where) "AIRFLOW")
                    " " (dialogs-number (dialogs-first (strcat "select WIDTH" where) "WIDTH"))
                    " x " (dialogs-number (dialogs-first (strcat "select DEPTH" where) "DEPTH"))
                    ", " (dialogs-number (dialogs-first (strcat "select CFM" where) "CFM")) " CFM")))
    ((and (= devType 2)
          (setq where (strcat " from tblDiffL, tblDiffS where tblDiffL.ixDiffS = tblDiffS.ixDiffS and ixDiffL = "
                              (itoa ixList)))
          (dialogs-first (strcat "select ixDiffL" where) "ixDiffL"))
     (princ (strcat "\nDiffuser " (itoa ixList) " on " (dialogs-first (strcat "select DRAWING" where) "DRAWING")
                    ": " (dialogs-first (strcat "select CALLOUT" where) "CALLOUT")
                    ", " (dialogs-number (dialogs-first (strcat "select tblDiffL.CFM" where) "CFM")) " CFM"))))
  (princ))

;; Prints the schedule row IXSCH of diffusers (DEVTYPE 2) and how many of it each drawing holds.
(defun projectExplorer-querySchedule-HVAC (ixSch devType / callout drawings)
  (if (and (= devType 2)
           (setq callout (dialogs-first (strcat "select CALLOUT from tblDiffS where ixDiffS = " (itoa ixSch)) "CALLOUT")))
    (progn
      (princ (strcat "\nSchedule " callout ":"))
      (setq drawings (dialogs-values (strcat "select DRAWING from tblDiffL where bDeleted = 0 and ixDiffS = " (itoa ixSch))
                                     "DRAWING" "DRAWING"))
      (foreach d (dialogs-distinct drawings)
        (princ (strcat " " d " " (itoa (length (vl-remove-if-not '(lambda (x) (= x d)) drawings))))))))
  (princ))

;; The items of LST without repeats, in their first order.
(defun dialogs-distinct (lst / out)
  (foreach x lst (if (not (member x out)) (setq out (cons x out))))
  (reverse out))
